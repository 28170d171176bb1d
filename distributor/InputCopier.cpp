#include "distributor/InputCopier.h"

#include "distributor/ByteCopy.h"
#include "distributor/IServantStarter.h"

namespace qxd
{

InputCopier::InputCopier(qpr::Socket& client, IServant& servant, const qpr::Cancellation& cancellation)
    : m_reader(client, cancellation)
    , m_servant(servant)
    , m_thread(*this, "qx input")
{
}

void InputCopier::Run()
{
    const CopyEnd end = CopyBytes(m_reader, m_servant.Input());
    m_servant.CloseInput();
    if (end.kind == CopyEnd::Kind_TargetFailed)
        DiscardBytes(m_reader);
}

} // namespace qxd
