#include "runtime/channels/SocketAddress.h"

#include "runtime/channels/NativeSocket.h"
#include "runtime/text/Errors.h"
#include "runtime/text/Panic.h"
#include "runtime/threads/IRunnable.h"
#include "runtime/threads/Mutex.h"
#include "runtime/threads/Thread.h"
#include "runtime/threads/ThreadEvent.h"

#include <algorithm>
#include <cwchar>
#include <exception>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

namespace qpr
{
namespace
{

constexpr std::uint32_t serviceNotFound = 10109;
constexpr std::uint32_t hostNotFound = 11001;

/// Checked by us, since resolvers accept "99999", "-1" and the empty text as some port.
bool IsServiceText(const std::wstring& service)
{
    const auto isDigit = [](wchar_t character) { return character >= L'0' && character <= L'9'; };
    if (std::ranges::all_of(service, isDigit))
        return !service.empty() && service.size() <= 5 && std::stoul(service) <= 0xFFFF;
    const wchar_t first = service.front();
    return (first >= L'a' && first <= L'z') || (first >= L'A' && first <= L'Z');
}

/// A look-up by the resolver, on a thread of its own.
class NameLookUp final : private IRunnable
{
public:
    NameLookUp(std::wstring host, std::wstring service)
        : m_host(std::move(host))
        , m_service(std::move(service))
        , m_thread(*this)
    {
    }

    WaitObject DoneObject() const noexcept { return m_done.Object(); }
    bool IsDone() const { return Thread::TryWaitForObject(DoneObject(), L"qpr::NameLookUp::IsDone", 0); }

    std::vector<SocketAddress> Result() const
    {
        if (m_error)
            std::rethrow_exception(m_error);
        return m_addresses;
    }

private:
    void Run() override
    {
        try
        {
            m_addresses = LookUpAddresses(m_host, m_service, LookUp::Names);
        }
        catch (...)
        {
            m_error = std::current_exception();
        }
        m_done.Signal();
    }
    void HandleError(const std::exception&) override { }

    const std::wstring m_host;
    const std::wstring m_service;
    std::vector<SocketAddress> m_addresses;
    std::exception_ptr m_error;
    ThreadEvent m_done{ThreadEvent::Kind_ManualReset};
    Thread m_thread; // last: uses the other members from the start
};

/// Keeps look-ups that nobody waits for any more until they are done: the resolver cannot be interrupted. Never
/// destroyed, since that would wait for them at the end of the program.
class AbandonedLookUps
{
public:
    void Add(std::unique_ptr<NameLookUp> lookUp)
    {
        KeepLoaded();
        const ScopedLock lock(m_lock);
        m_lookUps.push_back(std::move(lookUp));
    }

    void DropThoseDone()
    {
        const NonInterruptibleSection section;
        const ScopedLock lock(m_lock);
        std::erase_if(m_lookUps, [](const auto& lookUp) { return lookUp->IsDone(); });
    }

private:
    Mutex m_lock;
    std::vector<std::unique_ptr<NameLookUp>> m_lookUps QX_GUARDED_BY(m_lock);
};

std::vector<SocketAddress> LookUpName(const std::wstring& host, const std::wstring& service, const Wait& wait)
{
    static AbandonedLookUps& abandoned = *new AbandonedLookUps;
    abandoned.DropThoseDone();
    auto lookUp = std::make_unique<NameLookUp>(host, service);
    try
    {
        wait.For(lookUp->DoneObject(), L"qpr::SocketAddress::SetRemoteAddress");
    }
    catch (...)
    {
        abandoned.Add(std::move(lookUp));
        throw;
    }
    return lookUp->Result();
}

/// An address in numbers needs no thread.
std::vector<SocketAddress> FindAddresses(const std::wstring& host, const std::wstring& service, const Wait& wait)
{
    try
    {
        return LookUpAddresses(host, service, LookUp::Numbers);
    }
    catch (const RuntimeError&)
    {
        return LookUpName(host, service, wait);
    }
}

template <class... Args>
std::wstring Format(const char* function, const wchar_t* format, Args... args)
{
    wchar_t text[40];
    const int length = std::swprintf(text, std::size(text), format, args...);
    if (length < 0)
        Panic("length >= 0", function);
    return std::wstring(text, static_cast<std::size_t>(length));
}

std::wstring ToIP4String(const SocketAddress::AddressBytes& bytes)
{
    return Format(
        "qpr::`anonymous-namespace'::ToIP4String", L"%u.%u.%u.%u", +bytes[0], +bytes[1], +bytes[2], +bytes[3]);
}

std::wstring ToIP6String(const SocketAddress::AddressBytes& bytes)
{
    const auto group = [&](std::size_t index) { return bytes[2 * index] << 8 | bytes[2 * index + 1]; };
    return Format("qpr::`anonymous-namespace'::ToIP6String", L"%X:%X:%X:%X:%X:%X:%X:%X", group(0), group(1), group(2),
        group(3), group(4), group(5), group(6), group(7));
}

} // namespace

SocketAddress::SocketAddress(Family family, const AddressBytes& bytes, std::uint16_t port) noexcept
    : m_family(family)
    , m_bytes(bytes)
    , m_port(port)
{
}

SocketAddress SocketAddress::Loopback(std::uint16_t port) noexcept
{
    return SocketAddress(Family::IPv4, {127, 0, 0, 1}, port);
}

SocketAddress SocketAddress::Resolve(
    const std::wstring& host, const std::wstring& service, Family family, const Wait& wait)
{
    if (!IsServiceText(service))
        ThrowSocketErrorWithNumber(L"GetAddrInfo() failed", L"qpr::SocketAddress::SetRemoteAddress", serviceNotFound);
    if (host.empty()) // some resolvers take it as this computer
        ThrowSocketErrorWithNumber(L"GetAddrInfo() failed", L"qpr::SocketAddress::SetRemoteAddress", hostNotFound);
    const std::vector<SocketAddress> addresses = FindAddresses(host, service, wait);
    const auto found = std::ranges::find(addresses, family, &SocketAddress::GetFamily);
    if (found == addresses.end())
        throw RuntimeError(L"No remote address found for host '" + host + L"' and service '" + service + L"'");
    return *found;
}

bool SocketAddress::IsSameHost(const SocketAddress& other) const noexcept
{
    return m_family == other.m_family && m_bytes == other.m_bytes;
}

std::wstring SocketAddress::ToText() const
{
    return m_family == Family::IPv4 ? ToIP4String(m_bytes) : ToIP6String(m_bytes);
}

} // namespace qpr
