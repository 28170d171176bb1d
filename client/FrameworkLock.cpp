#include "client/FrameworkLock.h"

namespace QxClient
{

qpr::Mutex& FrameworkLock()
{
    static qpr::Mutex lock;
    return lock;
}

} // namespace QxClient
