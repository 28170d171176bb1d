#include "runtime/named/NamedObject.h"

#include "runtime/named/windows/SecurityDescriptorBuffer.h"
#include "runtime/text/Errors.h"
#include "runtime/threads/windows/Handle.h"

namespace qpr
{

namespace
{

HANDLE Open(const std::wstring& name, NamedObjectKind kind) noexcept
{
    switch (kind)
    {
    case NamedObjectKind::Memory:
        return OpenFileMappingW(FILE_MAP_READ | FILE_MAP_WRITE, FALSE, name.c_str());
    case NamedObjectKind::Mutex:
        return OpenMutexW(SYNCHRONIZE, FALSE, name.c_str());
    case NamedObjectKind::Event:
        return OpenEventW(EVENT_MODIFY_STATE, FALSE, name.c_str());
    }
    return nullptr;
}

} // namespace

NamedObjectStatus DescribeNamedObject(const std::wstring& name, NamedObjectKind kind)
{
    NamedObjectStatus status;
    status.location = name;
    const SystemHandle<"qpr::DescribeNamedObject"> handle(NativeHandleOf(Open(name, kind)));
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

SecurityDescriptor::SecurityDescriptor()
    : m_buffer(std::make_unique<Buffer>())
{
    if (!InitializeSecurityDescriptor(m_buffer->descriptor, SECURITY_DESCRIPTOR_REVISION))
        ThrowSystemError(L"InitializeSecurityDescriptor() failed", L"qpr::SecurityDescriptor::SecurityDescriptor");
}

SecurityDescriptor::~SecurityDescriptor() = default;

void SecurityDescriptor::GrantAllAccess()
{
    // An access list that is present and null refuses nobody.
    if (!SetSecurityDescriptorDacl(m_buffer->descriptor, TRUE, nullptr, FALSE))
        ThrowSystemError(L"SetSecurityDescriptorDacl() failed", L"qpr::SecurityDescriptor::GrantAllAccess");
}

SecurityDescriptor::Buffer::Buffer()
    : descriptor(LocalAlloc(LPTR, SECURITY_DESCRIPTOR_MIN_LENGTH))
    , attributes{sizeof(SECURITY_ATTRIBUTES), descriptor, FALSE}
{
    if (!descriptor)
        ThrowSystemError(L"LocalAlloc() failed", L"qpr::SecurityDescriptor::Buffer::Buffer");
}

SecurityDescriptor::Buffer::~Buffer()
{
    LocalFree(descriptor);
}

SECURITY_ATTRIBUTES* AttributesOf(const SecurityDescriptor& security) noexcept
{
    return const_cast<SECURITY_ATTRIBUTES*>(&security.GetBuffer().attributes); // which the system only reads
}

} // namespace qpr
