#include "config/HostRequirements.h"

namespace qxm
{

bool MeetsHostRequirements(const XmlElement&, const HostDescription&)
{
    return true;
}

} // namespace qxm
