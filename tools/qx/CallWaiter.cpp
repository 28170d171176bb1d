#include "tools/qx/CallWaiter.h"

#include <qxmi/IServiceCall.h>

namespace qx
{

CallWaiter::CallWaiter(qxmi::IServiceCall& call, std::function<void()> onEnded)
    : m_call(call)
    , m_onEnded(std::move(onEnded))
    , m_thread(*this, "qx wait")
{
}

CallWaiter::~CallWaiter()
{
    m_call.Cancel();
}

void CallWaiter::Run()
{
    m_call.Wait();
    m_onEnded();
}

} // namespace qx
