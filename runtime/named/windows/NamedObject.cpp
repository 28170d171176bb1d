#include "runtime/named/NamedObject.h"

#include "runtime/text/Errors.h"
#include "runtime/threads/windows/Handle.h"

#include <array>

namespace qpr
{

namespace
{

OwnedHandle Open(const std::wstring& name, NamedObjectKind kind)
{
    switch (kind)
    {
    case NamedObjectKind::Memory:
        return OwnedHandle(OpenFileMappingW(FILE_MAP_READ | FILE_MAP_WRITE, FALSE, name.c_str()));
    case NamedObjectKind::Mutex:
        return OwnedHandle(OpenMutexW(SYNCHRONIZE, FALSE, name.c_str()));
    case NamedObjectKind::Event:
        return OwnedHandle(OpenEventW(EVENT_MODIFY_STATE, FALSE, name.c_str()));
    }
    return OwnedHandle();
}

} // namespace

NamedObjectStatus DescribeNamedObject(const std::wstring& name, NamedObjectKind kind)
{
    NamedObjectStatus status;
    status.location = name;
    const OwnedHandle handle = Open(name, kind);
    const DWORD error = GetLastError();
    status.exists = handle.IsValid();
    if (!status.exists && error != ERROR_FILE_NOT_FOUND)
        status.obstacle = SystemErrorMessage(
            L"'" + name + L"' is in the way: opening it failed", L"qpr::DescribeNamedObject", __LINE__, error);
    return status;
}

bool NamedObjectsOutliveTheirUsers() noexcept
{
    return false;
}

} // namespace qpr
