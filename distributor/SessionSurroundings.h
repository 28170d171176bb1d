#pragma once

#include "config/HostDescription.h"

#include <cstdint>

namespace qxd
{

class CallJournal;
class IServantStarter;
class ServiceCatalogue;
class SlotQueue;

/// What all sessions of a distributor share; each part may be used by any thread and outlives the sessions.
struct SessionSurroundings
{
    const qxm::HostDescription& host; ///< the distributor's
    qxm::HostDescriptionMemo& clients; ///< as they describe themselves
    const ServiceCatalogue& catalogue;
    std::uint32_t slotCount;
    SlotQueue& slots;
    IServantStarter& starter;
    CallJournal& journal;
};

} // namespace qxd
