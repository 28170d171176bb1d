// A servant as authors write them, with the kit: its service "Echo" sends back what it gets, "Compute" never ends.

#include <qxservant/Servant.h>

#include <array>

namespace
{

int Echo(qxservant::Connection& connection)
{
    std::array<char, 65536> buffer;
    while (connection.Input().peek() != std::istream::traits_type::eof())
    {
        const std::streamsize count = connection.Input().readsome(buffer.data(), buffer.size());
        connection.Output().write(buffer.data(), count).flush();
    }
    return 0;
}

/// Computes without ever looking at its streams.
int Compute(qxservant::Connection&)
{
    volatile unsigned round = 0;
    for (;;)
        round = round + 1;
}

} // namespace

int main(int argc, char** argv)
{
    return qxservant::Run(argc, argv, {{L"Echo", Echo}, {L"Compute", Compute}});
}
