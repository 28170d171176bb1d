#include "support/ChildMain.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <thread>
#include <vector>

/// Servants that behave or misbehave, each named as the service it stands for. They know nothing of the library.
namespace
{

enum class Then
{
    Ends,
    ReadsItsInput,
    EchoesItsInput,
    Hangs,
    Aborts,
};

struct Servant
{
    std::string output;
    std::string log;
    Then then;
    int exitCode = 0;
};

std::string AnswerAs(const std::string& service)
{
    return "servant me executing " + service + "\n";
}

std::string Repeat(int count, const std::string& text)
{
    std::string all;
    for (int i = 0; i < count; ++i)
        all += text;
    return all;
}

void Write(const std::string& text, std::FILE* file)
{
    std::fwrite(text.data(), 1, text.size(), file);
    std::fflush(file);
}

std::string ReadAll()
{
    std::string text;
    for (int character = std::getchar(); character != EOF; character = std::getchar())
        text += static_cast<char>(character);
    return text;
}

int Run(const Servant& servant)
{
    Write(servant.output, stdout);
    Write(servant.log, stderr);
    if (servant.then == Then::Aborts)
        std::abort();
    while (servant.then == Then::Hangs) // until the test program ends it
        std::this_thread::sleep_for(std::chrono::hours(1));
    if (servant.then == Then::ReadsItsInput)
        ReadAll();
    if (servant.then == Then::EchoesItsInput)
        Write(ReadAll(), stdout);
    return servant.exitCode;
}

const test::ChildRegistration execute("execute",
    [](const std::vector<std::string>& arguments)
    {
        const std::map<std::string, Servant> servants{
            {"Echo", {AnswerAs("Echo"), "working\xFF\n", Then::EchoesItsInput, 3}},
            {"ExitsAtOnce", {"", "", Then::Ends, 7}},
            {"NeverAnswers", {"", "here\n", Then::ReadsItsInput}},
            {"Rubbish", {"what? 'no\n", "", Then::Ends}},
            {"AnswersForAnother", {"servant 7 executing Other\r\n", "", Then::Ends, 9}},
            {"EndlessLine", {std::string(70000, 'x'), "", Then::ReadsItsInput}},
            {"NotUtf8", {"servant \x80\n", "", Then::Ends}},
            {"ZlibForAProtocol",
                {"servant 1 executing ZlibForAProtocol CompressionProtocol=zlib\n", "", Then::ReadsItsInput}},
            {"ClosesEarly", {AnswerAs("ClosesEarly") + "half", "", Then::Ends, 4}},
            {"Dies", {AnswerAs("Dies"), "", Then::Aborts}},
            {"FloodsItsLog",
                {AnswerAs("FloodsItsLog"), Repeat(20000, "a line of the log that nobody asked for\n"),
                    Then::EchoesItsInput}},
            {"IgnoresItsInput", {AnswerAs("IgnoresItsInput"), "", Then::Hangs}},
        };
        return Run(servants.at(arguments.front()));
    });

} // namespace
