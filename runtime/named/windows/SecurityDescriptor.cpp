#include "runtime/named/SecurityDescriptor.h"

#include "runtime/named/windows/SecurityDescriptorBuffer.h"
#include "runtime/text/Errors.h"

namespace qpr
{

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

SecurityDescriptor::SecurityDescriptor()
    : m_buffer(std::make_unique<Buffer>())
{
    if (!InitializeSecurityDescriptor(m_buffer->descriptor, SECURITY_DESCRIPTOR_REVISION))
        ThrowSystemError(L"InitializeSecurityDescriptor() failed", L"qpr::SecurityDescriptor::SecurityDescriptor");
}

SecurityDescriptor::~SecurityDescriptor() = default;

void SecurityDescriptor::GrantAllAccess()
{
    // An access list that is there and null refuses nobody.
    if (!SetSecurityDescriptorDacl(m_buffer->descriptor, TRUE, nullptr, FALSE))
        ThrowSystemError(L"SetSecurityDescriptorDacl() failed", L"qpr::SecurityDescriptor::GrantAllAccess");
}

} // namespace qpr
