#pragma once

#include <cstddef>
#include <string>

namespace qxm
{

inline constexpr wchar_t DefaultWorkTableName[] = L"QxWorkTable";

/// Names the file that every use of the table is traced to.
inline constexpr wchar_t WorkTableTraceVariable[] = L"QXWORKTABLE_TRACELOG";

/// The names of a table's objects, which all processes that share it agree on.
class WorkTableNames
{
public:
    WorkTableNames(bool isGlobal, const std::wstring& baseName)
        : m_isGlobal(isGlobal)
        , m_prefixed((isGlobal ? L"Global\\" : L"Local\\") + baseName)
    {
    }

    bool IsGlobal() const noexcept { return m_isGlobal; }
    std::wstring Mutex() const { return m_prefixed + L"Mutex"; }
    const std::wstring& Segment() const noexcept { return m_prefixed; }

    /// Of the row with this index, from 0.
    std::wstring Trigger(std::size_t index) const
    {
        return m_prefixed + L"JobManager" + std::to_wstring(index) + L"Trigger";
    }

private:
    bool m_isGlobal;
    std::wstring m_prefixed;
};

} // namespace qxm
