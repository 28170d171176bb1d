#pragma once

#include <cstddef>
#include <string>

namespace qxm
{

inline constexpr wchar_t DefaultWorkTableName[] = L"QxWorkTable";

/// Names the file that every use of the table is traced to.
inline constexpr wchar_t WorkTableTraceVariable[] = L"QXWORKTABLE_TRACELOG";

/// Whose table it is.
enum class TableScope
{
    Local, ///< this user's own
    Global, ///< the computer's
};

/// The names of a table's objects, which all processes that share it agree on.
class WorkTableNames
{
public:
    WorkTableNames(TableScope scope, const std::wstring& baseName)
        : m_isGlobal(scope == TableScope::Global)
        , m_prefixed((m_isGlobal ? L"Global\\" : L"Local\\") + baseName)
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
