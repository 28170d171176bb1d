#include "runtime/named/SecurityDescriptor.h"

#include "runtime/named/posix/SecurityDescriptorBuffer.h"

namespace qpr
{

SecurityDescriptor::SecurityDescriptor()
    : m_buffer(std::make_unique<Buffer>())
{
}

SecurityDescriptor::~SecurityDescriptor() = default;

void SecurityDescriptor::GrantAllAccess()
{
    m_buffer->grantsAllAccess = true;
}

} // namespace qpr
