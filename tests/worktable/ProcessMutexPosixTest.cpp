#include "worktable/ProcessMutex.h"

#include "TestTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>

using qpr::ProcessMutex;
using test::ErrorOf;

TEST(ProcessMutexPosix, RefusesADamagedObject)
{
    const auto damages = {+[](std::string& content) { content.clear(); },
        +[](std::string& content) { content.pop_back(); }, +[](std::string& content) { content += 'x'; },
        +[](std::string& content) { content[0] ^= 1; },
        +[](std::string& content) { std::fill(content.begin() + 8, content.end(), '\xFF'); }};
    for (const auto damage : damages)
    {
        const test::UniqueName name;
        {
            ProcessMutex mutex;
            mutex.OpenOrCreate(name.Local(), test::ForEveryone());
        }
        std::stringstream original;
        original << std::ifstream(name.Files().at(0), std::ios::binary).rdbuf();
        std::string content = original.str();
        damage(content);
        std::ofstream(name.Files().at(0), std::ios::binary) << content;

        ProcessMutex mutex;
        const std::string expected = "Existing mutex '" + qpr::ToUtf8(name.Local()) + "' is damaged";
        EXPECT_EQ(expected, ErrorOf([&] { mutex.TryOpen(name.Local()); }));
        EXPECT_EQ(expected, ErrorOf([&] { mutex.OpenOrCreate(name.Local(), test::ForEveryone()); }));
    }
}
