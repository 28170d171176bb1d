#include <qxservant/Servant.h>

#include <chrono>
#include <thread>
#include <vector>

// The servant of the tool's and the examples' tests: a service for each way of behaving.

namespace
{

/// Answers each piece as it comes.
int Echo(qxservant::Connection& connection)
{
    std::vector<char> piece(65536);
    while (connection.Input().peek() != std::istream::traits_type::eof())
    {
        const std::streamsize size = connection.Input().readsome(piece.data(), std::streamsize(piece.size()));
        connection.Output().write(piece.data(), size).flush();
    }
    return 0;
}

/// Answers before it reads, and again when all is read.
int AnswerFirst(qxservant::Connection& connection)
{
    connection.Output() << "first\n" << std::flush;
    while (connection.Input().get() != std::istream::traits_type::eof())
    {
    }
    connection.Output() << "last\n";
    return 0;
}

/// Ends after one line, whatever else there is to read.
int FirstLine(qxservant::Connection& connection)
{
    std::string line;
    std::getline(connection.Input(), line);
    connection.Output() << line << '\n';
    return 0;
}

int Log(qxservant::Connection& connection)
{
    connection.Log() << "gr\xc3\xbc\xc3\x9f dich\n";
    return 0;
}

/// Gives its data whole, and fails.
int Fail(qxservant::Connection& connection)
{
    connection.Output() << "data\n";
    connection.Log() << "no luck\x1b[2J";
    return 3;
}

int Hang(qxservant::Connection& connection)
{
    connection.Log() << "hanging" << std::endl;
    std::this_thread::sleep_for(std::chrono::hours(1)); // the kit ends the process when the client is gone
    return 0;
}

int Where(qxservant::Connection& connection)
{
    connection.Output() << (connection.IsLocal() ? "here\n" : "elsewhere\n");
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    return qxservant::Run(argc, argv,
        {
            {L"Echo", Echo},
            {L"Gzip", Echo}, // stands for the example's
            {L"AnswerFirst", AnswerFirst},
            {L"FirstLine", FirstLine},
            {L"Log", Log},
            {L"Fail", Fail},
            {L"Hang", Hang},
            {L"Where", Where},
            {L"Here", Where},
            {L"There", Where},
            {L"Narrow", Where},
        });
}
