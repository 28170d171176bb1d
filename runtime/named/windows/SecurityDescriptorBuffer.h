#pragma once

#include "runtime/named/SecurityDescriptor.h"
#include "runtime/text/windows/SystemHeaders.h"

namespace qpr
{

struct SecurityDescriptor::Buffer
{
    Buffer();
    ~Buffer();
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;

    PSECURITY_DESCRIPTOR descriptor;
    SECURITY_ATTRIBUTES attributes; ///< for the calls that create objects; handles are not inherited
};

/// The attributes of objects that are created with the descriptor.
SECURITY_ATTRIBUTES* AttributesOf(const SecurityDescriptor& security) noexcept;

} // namespace qpr
