#include "worktable/ProcessEvent.h"

#include "runtime/Errors.h"
#include "runtime/Panic.h"
#include "worktable/posix/SharedObject.h"

#include <cerrno>
#include <cstddef>
#include <linux/sockios.h>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <vector>

// An event is a datagram socket with an abstract name, which the system forgets with its last descriptor, however the
// owner ends. A signal is a datagram; one that finds the queue full finds a signalled event.

namespace qpr
{

using namespace posix;

namespace
{

struct Address
{
    /// False when the name is too long for the system.
    bool Set(const std::wstring& name)
    {
        const std::string text = ObjectName(name).text;
        if (text.size() >= sizeof socket.sun_path)
            return false;
        text.copy(socket.sun_path + 1, text.size()); // the byte before it stays 0: an abstract name
        length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + text.size());
        return true;
    }

    const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&socket); }

    sockaddr_un socket = {.sun_family = AF_UNIX, .sun_path = {}};
    socklen_t length = 0;
};

FileDescriptor MakeSocket() noexcept
{
    return FileDescriptor(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

/// Whether a datagram went out.
bool Send(const FileDescriptor& socket, const Address& address) noexcept
{
    const char signal = 1;
    return sendto(socket.Value(), &signal, sizeof signal, MSG_NOSIGNAL | MSG_DONTWAIT, address.Get(), address.length)
        >= 0;
}

/// Whether a datagram that did not go out is as good: the event is signalled already, or its owner has gone.
bool NeedsNoSignal(int error) noexcept
{
    return error == EAGAIN || error == EWOULDBLOCK || error == ECONNREFUSED;
}

/// Takes what is queued. Bounded, since somebody may send as fast as we receive.
void Drain(int socket) noexcept
{
    constexpr int maximumBatches = 16;
    constexpr unsigned batchSize = 64;
    mmsghdr messages[batchSize] = {};
    for (int batch = 0; batch < maximumBatches; ++batch)
    {
        if (recvmmsg(socket, messages, batchSize, MSG_DONTWAIT, nullptr) < static_cast<int>(batchSize))
            return;
    }
}

} // namespace

struct ProcessEvent::State
{
    FileDescriptor socket = MakeSocket();
    Address address;
    bool isCreator = false;
};

ProcessEvent::ProcessEvent() noexcept = default;

ProcessEvent::~ProcessEvent()
{
    Close();
}

void ProcessEvent::Create(const std::wstring& name, const SecurityDescriptor&)
{
    constexpr wchar_t function[] = L"qpr::ProcessEvent::Create";
    if (m_state)
        Panic("m_handle == NULL", "qpr::ProcessEvent::Create");
    auto state = std::make_unique<State>();
    if (!state->socket.IsValid())
        ThrowSystemError(L"CreateEvent() failed", function);
    if (!state->address.Set(name))
        ThrowSystemErrorWithNumber(L"CreateEvent() failed", function, ENAMETOOLONG);
    if (bind(state->socket.Value(), state->address.Get(), state->address.length) != 0)
    {
        const int error = errno;
        if (error == EADDRINUSE)
            throw RuntimeError(L"Event '" + name + L"' already exists");
        ThrowSystemErrorWithNumber(L"CreateEvent() failed", function, static_cast<unsigned>(error));
    }
    // What a socket sends to itself is limited by nothing but this; the system rounds it up to a few datagrams.
    const int sendBufferSize = 1;
    setsockopt(state->socket.Value(), SOL_SOCKET, SO_SNDBUF, &sendBufferSize, sizeof sendBufferSize);
    state->isCreator = true;
    m_state = std::move(state);
}

bool ProcessEvent::TryOpen(const std::wstring& name)
{
    constexpr wchar_t function[] = L"qpr::ProcessEvent::TryOpen";
    if (m_state)
        Panic("m_handle == NULL", "qpr::ProcessEvent::TryOpen");
    auto state = std::make_unique<State>();
    if (!state->socket.IsValid())
        ThrowSystemError(L"OpenMutex() failed", function);
    if (!state->address.Set(name))
        return false; // nobody can have created it
    if (connect(state->socket.Value(), state->address.Get(), state->address.length) != 0)
    {
        const int error = errno;
        if (error == ECONNREFUSED)
            return false;
        ThrowSystemErrorWithNumber(L"OpenMutex() failed", function, static_cast<unsigned>(error));
    }
    m_state = std::move(state);
    return true;
}

void ProcessEvent::Signal()
{
    if (!Send(m_state->socket, m_state->address) && !NeedsNoSignal(errno))
        ThrowSystemError(L"SetEvent() failed", L"qpr::ProcessEvent::Signal");
}

void ProcessEvent::Wait(std::uint32_t timeoutMs)
{
    if (!m_state->isCreator)
        throw std::logic_error("qpr::ProcessEvent::Wait: not the creator");
    const int socket = m_state->socket.Value();
    Thread::WaitForObject(
        WaitObject(NativeHandle(socket), WaitObject::Kind_Readable), L"qpr::ProcessEvent::Wait", timeoutMs);
    Drain(socket);
}

void ProcessEvent::Close() noexcept
{
    if (m_state && !m_state->socket.Close())
        Panic("CloseHandle(m_handle)", "qpr::ProcessEvent::~ProcessEvent");
    m_state.reset();
}

struct ProcessEventGroup::State
{
    State() noexcept { TakeFreshSocket(); }
    void TakeFreshSocket() noexcept;
    void LeaveStaleSocket() noexcept;

    FileDescriptor socket;
    int bufferSize = 0;
    unsigned sentSinceLook = 0;
    std::vector<Address> addresses;
};

void ProcessEventGroup::State::TakeFreshSocket() noexcept
{
    constexpr int wantedSize = 1024 * 1024; // the system gives less
    FileDescriptor fresh = MakeSocket();
    if (!fresh.IsValid())
        return;
    setsockopt(fresh.Value(), SOL_SOCKET, SO_SNDBUF, &wantedSize, sizeof wantedSize);
    socklen_t length = sizeof bufferSize;
    getsockopt(fresh.Value(), SOL_SOCKET, SO_SNDBUF, &bufferSize, &length);
    socket = std::move(fresh);
}

/// Datagrams that nobody receives (their receivers are stopped, or wait for nothing) fill the send buffer, and a full
/// one would look like events that are all signalled. A fresh socket has an empty one.
void ProcessEventGroup::State::LeaveStaleSocket() noexcept
{
    constexpr unsigned sendsBetweenLooks = 64; // with the system's bookkeeping they take about 50 KB
    if (++sentSinceLook < sendsBetweenLooks)
        return;
    sentSinceLook = 0;
    int unreceived = 0;
    if (ioctl(socket.Value(), SIOCOUTQ, &unreceived) != 0 || unreceived > bufferSize / 2)
        TakeFreshSocket();
}

ProcessEventGroup::ProcessEventGroup(std::span<const std::wstring> names)
    : m_state(std::make_unique<State>())
{
    constexpr wchar_t function[] = L"qpr::ProcessEventGroup::ProcessEventGroup";
    if (!m_state->socket.IsValid())
        ThrowSystemError(L"OpenMutex() failed", function);
    m_state->addresses.resize(names.size());
    for (std::size_t i = 0; i < names.size(); ++i)
    {
        if (!m_state->addresses[i].Set(names[i]))
            ThrowSystemErrorWithNumber(L"OpenMutex() failed", function, ENAMETOOLONG);
    }
}

ProcessEventGroup::~ProcessEventGroup() = default;

void ProcessEventGroup::Signal(std::size_t index) noexcept
{
    if (Send(m_state->socket, m_state->addresses[index]))
        m_state->LeaveStaleSocket();
}

} // namespace qpr
