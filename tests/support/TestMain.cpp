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

}

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
    {
        const auto body = Bodies().find(argv[2]);
        if (body == Bodies().end())
        {
            std::fprintf(stderr, "no child body named %s\n", argv[2]);
            return 99;
        }
        return body->second(std::vector<std::string>(argv + 3, argv + argc));
    }
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
