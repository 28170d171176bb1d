#pragma once

#include <qxmi/IProcessCall.h>
#include <qxmi/IProcessRequestW.h>
#include <qxmi/IServiceCall.h>
#include <qxmi/IServiceConnectionW.h>
#include <qxmi/IServiceConnectorW.h>
#include <qxmi/IServiceRequestW.h>
#include <qxmi/QxClientExport.h>

#include <string>

/// The client library: create a connector, hand it requests, wait for the calls.
///
///     qxmi::IServiceConnectorW* connector = qxmi::CreateServiceConnectorW("<LocalServiceConnector/>");
///     qxmi::IServiceCall* call = connector->CreateServiceCall(request);
///     call->Wait();
///     call->Release();
///     connector->Release();
namespace qxmi
{

/// Creates a service connector from a small XML text: the root element LocalServiceConnector, NetworkServiceConnector
/// or HybridServiceConnector, the settings as its attributes. Returns it with one reference; never null. Starts the
/// connector's threads. Throws std::runtime_error that names what is wrong with the text or with the configuration
/// file. May be called from any thread.
QXCLIENT_EXPORT IServiceConnectorW* CreateServiceConnectorW(const std::string& configuration);

/// Starts the external process that the request describes and returns the call that follows it, with one reference.
/// Throws std::runtime_error when the request is incomplete; a process that cannot be started is reported to the
/// request. May be called from any thread.
QXCLIENT_EXPORT IProcessCall* CallProcess(IProcessRequestW& request);

} // namespace qxmi
