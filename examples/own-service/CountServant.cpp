#include <qxservant/Servant.h>

// A servant: counts the words of its input.

namespace
{

int Count(qxservant::Connection& connection)
{
    std::string word;
    int words = 0;
    while (connection.Input() >> word)
        ++words;
    connection.Output() << words << '\n';
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    return qxservant::Run(argc, argv, {{L"Count", Count}});
}
