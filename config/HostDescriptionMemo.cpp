#include "config/HostDescriptionMemo.h"

namespace qxm
{

HostDescription HostDescriptionMemo::Read(std::wstring_view line)
{
    {
        const qpr::ScopedLock lock(m_lock);
        if (line == m_line)
            return m_host;
    }
    HostDescription host = HostDescription::Read(line, m_role);
    const qpr::ScopedLock lock(m_lock);
    m_line = line;
    m_host = host;
    return host;
}

} // namespace qxm
