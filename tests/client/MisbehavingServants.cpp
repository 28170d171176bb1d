#include "support/ChildMain.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <map>
#include <string>
#include <thread>
#include <vector>

/// Servants that behave or misbehave, each named as the service it stands for. They know nothing of the library.
namespace
{

using Arguments = std::vector<std::string>;

void Say(const std::string& text)
{
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

void AnswerAs(const std::string& service)
{
    Say("servant me executing " + service + "\n");
}

/// Until the test program ends it.
[[noreturn]] void Hang()
{
    for (;;)
        std::this_thread::sleep_for(std::chrono::hours(1));
}

std::string ReadAll()
{
    std::string text;
    char buffer[4096];
    while (const std::size_t count = std::fread(buffer, 1, sizeof buffer, stdin))
        text.append(buffer, count);
    return text;
}

int Echo()
{
    AnswerAs("Echo");
    std::cerr << "working\xFF" << std::endl;
    Say(ReadAll());
    return 3; // of no interest after a call that went well
}

int ExitsAtOnce()
{
    return 7;
}

int NeverAnswers()
{
    std::cerr << "here" << std::endl;
    ReadAll();
    return 0;
}

int Rubbish()
{
    Say("what? 'no\n");
    return 0;
}

int AnswersForAnother()
{
    Say("servant 7 executing Other\r\n");
    return 9;
}

int EndlessLine()
{
    Say(std::string(70000, 'x'));
    ReadAll();
    return 0;
}

int NotUtf8()
{
    Say("servant \x80\n");
    return 0;
}

int ZlibForAProtocol()
{
    Say("servant 1 executing ZlibForAProtocol CompressionProtocol=zlib\n");
    ReadAll();
    return 0;
}

int ClosesEarly()
{
    AnswerAs("ClosesEarly");
    Say("half");
    return 4;
}

int Dies()
{
    AnswerAs("Dies");
    std::abort();
    return 0;
}

int FloodsItsLog()
{
    AnswerAs("FloodsItsLog");
    for (int i = 0; i < 20000; ++i)
        std::fputs("a line of the log that nobody asked for\n", stderr);
    Say(ReadAll());
    return 0;
}

int IgnoresItsInput()
{
    AnswerAs("IgnoresItsInput");
    Hang();
    return 0;
}

const test::ChildRegistration execute("execute",
    [](const Arguments& arguments)
    {
        const std::map<std::string, int (*)()> servants{
            {"Echo", Echo},
            {"ExitsAtOnce", ExitsAtOnce},
            {"NeverAnswers", NeverAnswers},
            {"Rubbish", Rubbish},
            {"AnswersForAnother", AnswersForAnother},
            {"EndlessLine", EndlessLine},
            {"NotUtf8", NotUtf8},
            {"ZlibForAProtocol", ZlibForAProtocol},
            {"ClosesEarly", ClosesEarly},
            {"Dies", Dies},
            {"FloodsItsLog", FloodsItsLog},
            {"IgnoresItsInput", IgnoresItsInput},
        };
        return servants.at(arguments.front())();
    });

} // namespace
