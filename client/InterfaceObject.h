#pragma once

#include "runtime/ReferenceCounted.h"
#include "runtime/threads/Mutex.h"

namespace QxClient
{

/// The one lock under which the reference counts of connectors and calls change. Held for the change alone: objects are
/// destroyed outside it.
inline qpr::Mutex& FrameworkLock()
{
    static qpr::Mutex lock;
    return lock;
}

/// An object that the application holds through one of the public interfaces. Any thread may take and drop references.
template <class Interface>
class InterfaceObject : public Interface, public qpr::ReferenceCounted
{
public:
    void AddRef() final
    {
        qpr::ScopedLock lock(FrameworkLock());
        AddReference();
    }

    void Release() final
    {
        {
            qpr::ScopedLock lock(FrameworkLock());
            if (!DropReferenceOnly())
                return;
        }
        Destroy();
    }

private:
    /// Ends what is left and deletes the object, on the thread that dropped the last reference.
    virtual void Destroy() { delete this; }
};

} // namespace QxClient
