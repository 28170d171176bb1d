#include "support/ChildMain.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <map>

namespace
{

std::map<std::string, test::ChildBody>& Bodies()
{
    static std::map<std::string, test::ChildBody> bodies;
    return bodies;
}

std::string ownPath;

int RunChild(const char* name, const std::vector<std::string>& arguments)
{
    const auto body = Bodies().find(name);
    if (body != Bodies().end())
        return body->second(arguments);
    std::fprintf(stderr, "no child body named %s\n", name);
    return 99;
}

} // namespace

test::ChildRegistration::ChildRegistration(const char* name, ChildBody body)
{
    Bodies()[name] = body;
}

std::string test::OwnPath()
{
    return ownPath;
}

int main(int argc, char** argv)
{
    ownPath = argv[0];
    if (argc >= 3 && std::strcmp(argv[1], "--child") == 0)
        return RunChild(argv[2], std::vector<std::string>(argv + 3, argv + argc));
    if (argc >= 3 && std::strcmp(argv[1], "execute") == 0)
        return RunChild("execute", std::vector<std::string>(argv + 2, argv + argc));
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
