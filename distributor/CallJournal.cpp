#include "distributor/CallJournal.h"

#include "runtime/Thread.h"
#include "runtime/Utf8.h"

#include <exception>

namespace qxd
{

void CallJournal::WriteLine(const std::wstring& line) noexcept
{
    try
    {
        const qpr::NonInterruptibleSection section;
        const std::string bytes = qpr::ToUtf8(line) + "\n";
        const qpr::ScopedLock lock(m_lock);
        m_output.Write(bytes.data(), bytes.size());
    }
    catch (const std::exception&)
    {
    }
}

} // namespace qxd
