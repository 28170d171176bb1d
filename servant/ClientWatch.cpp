#include "servant/ClientWatch.h"

#include "runtime/channels/StandardStreams.h"
#include "runtime/threads/WaitObject.h"

#include <array>
#include <cstdlib>

namespace qxservant
{

namespace
{

constexpr std::uint32_t timeToEndMs = 20; // for a service that ends by itself
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
        qpr::Thread::TryWaitForObject(channels[0], L"qxservant::ClientWatch::Run", timeToEndMs);
    std::_Exit(exitCodeClientGone);
}

} // namespace qxservant
