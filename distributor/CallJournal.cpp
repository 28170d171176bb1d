#include "distributor/CallJournal.h"

#include "runtime/text/PrintableText.h"
#include "runtime/text/Utf8.h"

#include <array>
#include <exception>
#include <utility>

namespace qxd
{
namespace
{

constexpr std::uint32_t lastLineTimeMs = 1000;
constexpr std::size_t maxLineLength = 600; // a line quotes what clients say
constexpr std::uint32_t gatheringTimeMs = 20; // waking the thread for each of many short calls would slow them down

} // namespace

CallJournal::CallJournal(qpr::IWriter& output)
    : m_output(output)
    , m_thread(*this, "qx journal")
{
}

CallJournal::~CallJournal()
{
    try
    {
        m_isEnding.Signal();
        m_thread.WaitForCompletion(lastLineTimeMs);
    }
    catch (const std::exception&)
    {
    }
}

void CallJournal::WriteLine(const std::wstring& line) noexcept
{
    try
    {
        const qpr::ScopedLock lock(m_lock);
        Keep(qpr::ToUtf8(qpr::Printable(line, maxLineLength)) + "\n");
        m_hasLines.Signal();
    }
    catch (const std::exception&)
    {
    }
}

void CallJournal::Keep(std::string line)
{
    if (m_lines.size() >= maxLinesKept)
    {
        ++m_lostCount;
        return;
    }
    if (m_lostCount != 0)
        m_lines.push_back(std::to_string(std::exchange(m_lostCount, 0)) + " lines lost\n");
    m_lines.push_back(std::move(line));
}

std::optional<std::string> CallJournal::TakeLine()
{
    const qpr::ScopedLock lock(m_lock);
    if (m_lines.empty())
        return std::nullopt;
    std::string line = std::move(m_lines.front());
    m_lines.pop_front();
    return line;
}

void CallJournal::Run()
{
    const std::array<qpr::WaitObject, 2> events = {m_hasLines.Object(), m_isEnding.Object()};
    for (bool isEnding = false; !isEnding;)
    {
        qpr::Thread::WaitForAnyObject(events, L"qxd::CallJournal::Run");
        isEnding = qpr::Thread::TryWaitForObject(m_isEnding.Object(), L"qxd::CallJournal::Run", gatheringTimeMs);
        while (const std::optional<std::string> line = TakeLine())
        {
            try
            {
                m_output.Write(line->data(), line->size());
            }
            catch (const std::exception&)
            {
            }
        }
    }
}

} // namespace qxd
