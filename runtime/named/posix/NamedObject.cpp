#include "runtime/named/NamedObject.h"

#include "runtime/named/posix/SharedObject.h"
#include "runtime/text/Utf8.h"

#include <sys/stat.h>

namespace qpr
{

using namespace posix;

NamedObjectStatus DescribeNamedObject(const std::wstring& name, NamedObjectKind kind)
{
    const ObjectName systemName(name);
    NamedObjectStatus result;
    result.location = FromUtf8(systemName.Path());
    struct stat status;
    if (lstat(systemName.Path().c_str(), &status) != 0)
        return result;
    result.owner = UserName(status.st_uid);
    result.obstacle = ObstacleAt(systemName, kind == NamedObjectKind::Event ? FileKind::Fifo : FileKind::Regular);
    result.exists = result.obstacle.empty();
    return result;
}

bool NamedObjectsOutliveTheirUsers() noexcept
{
    return true;
}

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
