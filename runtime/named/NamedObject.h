#pragma once

#include <string>

namespace qpr
{

/// What a person can be told about a named object.
struct NamedObjectStatus
{
    std::wstring location; ///< the file, or the name where names are no files
    bool exists = false;
    std::wstring owner; ///< empty where there is none to name
    std::wstring obstacle; ///< why it cannot be used, and what to do; empty when nothing is in the way
};

enum class NamedObjectKind
{
    Memory,
    Mutex,
    Event,
};

/// Looks without changing or creating anything.
NamedObjectStatus DescribeNamedObject(const std::wstring& name, NamedObjectKind kind);

/// Whether memory and mutexes stay when the last process that used them has ended.
bool NamedObjectsOutliveTheirUsers() noexcept;

} // namespace qpr
