# Defines QxClient::QxClient, the library for applications, and QxClient::Servant, the kit for servants.
include(${CMAKE_CURRENT_LIST_DIR}/QxClientTargets.cmake)
