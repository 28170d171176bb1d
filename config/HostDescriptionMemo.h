#pragma once

#include "config/HostDescription.h"
#include "runtime/Mutex.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace qxm
{

/// Reads the description lines of hosts of one role. A host says the same with each of its calls, so that a line that
/// is the last one again is not parsed again. Any thread may use it.
class HostDescriptionMemo
{
public:
    explicit HostDescriptionMemo(std::wstring role)
        : m_role(std::move(role))
    {
    }

    /// Throws what HostDescription::Read throws.
    HostDescription Read(std::wstring_view line);

private:
    const std::wstring m_role;
    qpr::Mutex m_lock;
    std::optional<std::wstring> m_line QX_GUARDED_BY(m_lock); // no value: none was read yet
    HostDescription m_host QX_GUARDED_BY(m_lock);
};

} // namespace qxm
