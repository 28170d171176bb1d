#include "support/ChildMain.h"

#include <cstdio>
#include <map>

namespace
{

std::map<std::string, test::ChildBody>& Bodies()
{
    static std::map<std::string, test::ChildBody> bodies;
    return bodies;
}

std::string ownPath;

int RunChild(const std::string& name, const std::vector<std::string>& arguments)
{
    const auto body = Bodies().find(name);
    if (body != Bodies().end())
        return body->second(arguments);
    std::fprintf(stderr, "no child body named %s\n", name.c_str());
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

std::optional<int> test::RunAsChild(const std::vector<std::string>& words)
{
    ownPath = words[0];
    if (words.size() >= 3 && words[1] == "--child")
        return RunChild(words[2], std::vector<std::string>(words.begin() + 3, words.end()));
    if (words.size() >= 3 && words[1] == "execute")
        return RunChild(words[1], std::vector<std::string>(words.begin() + 2, words.end()));
    return {};
}
