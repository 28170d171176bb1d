#include "servant/ClientWatch.h"

#include "runtime/StandardStreams.h"
#include "runtime/WaitObject.h"

#include <array>
#include <cstdlib>

namespace qxservant
{

namespace
{

constexpr std::uint32_t timeToEndMs = 100;
constexpr int exitCodeClientGone = 3;

} // namespace

void ClientWatch::Run()
{
    const auto readerGone = [](qpr::StandardStream stream)
    { return qpr::WaitObject(qpr::HandleOf(stream), qpr::WaitObject::Kind_PeerGone); };
    const std::array<qpr::WaitObject, 2> channels{
        readerGone(qpr::StandardStream::Error), readerGone(qpr::StandardStream::Output)};

    constexpr int data = 1;
    if (qpr::Thread::WaitForAnyObject(channels, L"qxservant::ClientWatch::Run") == data)
        qpr::Thread::Sleep(timeToEndMs);
    std::_Exit(exitCodeClientGone);
}

} // namespace qxservant
