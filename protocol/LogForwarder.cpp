#include "protocol/LogForwarder.h"

#include "runtime/channels/IReader.h"
#include "runtime/text/Utf8.h"

#include <array>
#include <string>

namespace qxm
{

LogForwarder::LogForwarder(qpr::IReader& reader, std::wostream& log, std::function<void()> afterwards)
    : m_reader(reader)
    , m_log(log)
    , m_afterwards(std::move(afterwards))
    , m_ended(qpr::ThreadEvent::Kind_ManualReset)
    , m_thread(*this, "qx log")
{
}

void LogForwarder::Run()
{
    try
    {
        Forward();
    }
    catch (const std::exception&) // a channel that fails has ended
    {
    }
    if (m_afterwards)
        m_afterwards();
    m_ended.Signal();
}

void LogForwarder::Forward()
{
    std::array<char, 4096> bytes;
    qpr::Utf8LossyDecoder decoder;
    std::wstring text;
    for (;;)
    {
        const std::size_t count = m_reader.Read(bytes.data(), bytes.size());
        text.clear();
        if (count != 0)
            decoder.Decode({bytes.data(), count}, text);
        else
            decoder.Finish(text);
        m_log << text << std::flush;
        if (count == 0)
            return;
    }
}

} // namespace qxm
