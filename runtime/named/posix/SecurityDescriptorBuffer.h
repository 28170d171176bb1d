#pragma once

#include "runtime/named/SecurityDescriptor.h"

namespace qpr
{

struct SecurityDescriptor::Buffer
{
    bool grantsAllAccess = false;
};

} // namespace qpr
