#pragma once

#include "config/Configuration.h"

#include <cstdint>

namespace qxd
{

class CallJournal;
class IServantStarter;
class SlotQueue;

/// What all sessions of a distributor share; each part may be used by any thread and outlives the sessions.
struct SessionSurroundings
{
    const qxm::HostDescription& host; ///< the distributor's
    const qxm::ServicesMap& services; ///< sessions refer to them and take no references of their own
    std::uint32_t slotCount;
    SlotQueue& slots;
    IServantStarter& starter;
    CallJournal& journal;
};

} // namespace qxd
