// The servant of the benchmark of compressed calls; each service is the same exchange with another protocol.

#include "bench/CompressedExchange.h"

#include <qxservant/Servant.h>

#include <vector>

namespace
{

using namespace bench::exchange;

int Exchange(qxservant::Connection& connection)
{
    std::vector<char> sample(sampleSize);
    for (std::size_t done = 0; done < volume; done += pieceSize)
        connection.Input().read(&sample[done % sampleSize], pieceSize);
    for (std::size_t done = 0; done < volume; done += pieceSize)
        connection.Output().write(&sample[done % sampleSize], pieceSize);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    return qxservant::Run(argc, argv,
        {{L"Plain", Exchange}, {L"BlockedRawDeflate", Exchange, L"BlockedRawDeflate"},
            {L"BlockedQLZ14", Exchange, L"BlockedQLZ14"}});
}
