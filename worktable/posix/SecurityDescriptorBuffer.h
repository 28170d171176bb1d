#pragma once

#include "worktable/SecurityDescriptor.h"

namespace qpr
{

struct SecurityDescriptor::Buffer
{
    bool grantsAllAccess = false;
};

} // namespace qpr
