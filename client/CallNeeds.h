#pragma once

namespace QxClient
{

/// What the rules look at when they decide about a queued call. The amounts are sane ones (SaneAmount).
struct CallNeeds
{
    float processors = 0;
    float memoryInMB = 0;
    bool canRunLocally = true;
    bool mayGoToNetwork = false;
};

} // namespace QxClient
