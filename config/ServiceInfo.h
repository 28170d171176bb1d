#pragma once

#include "config/Version.h"
#include "runtime/Nullable.h"
#include "runtime/ReferenceCounted.h"
#include "runtime/threads/Mutex.h"

#include <cstdint>
#include <memory>
#include <string>

namespace qxm
{

class UsageModel;

/// A servant executable as the configuration describes it. Shared by its services; never changed once read. Its
/// references, like those of all descriptions here, are taken and dropped by one thread at a time.
struct ServantInfo final : qpr::ReferenceCounted
{
    std::wstring crashDumpFlags;
    std::wstring crashDumpDirectory;
    std::wstring executablePath; ///< absolute
    bool is32Bit = true;
    std::uint64_t addressSpaceInMB = 2048;
    qpr::Nullable<Version> libraryVersion; ///< null is older than any

    bool LibraryIsAtLeast(const Version& version) const noexcept
    {
        return !libraryVersion.IsNull() && libraryVersion.Value().AtLeast(version);
    }
};

/// A service with the texts of its usage formulas, each possibly empty.
struct ServiceInfo : qpr::ReferenceCounted
{
    std::wstring name;
    std::wstring expectedProcessorUsage;
    std::wstring expectedMemoryUsageInMB;
    std::wstring expectedResourceUsageHelpers;
    std::wstring compressionMode; ///< for a distributor, which converts it
};

/// A service that a servant on this computer offers.
struct LocalServiceInfo final : ServiceInfo
{
    explicit LocalServiceInfo(qpr::CountedPtr<const ServantInfo> servantInfo);
    ~LocalServiceInfo() override;

    const qpr::CountedPtr<const ServantInfo> servant;

    /// The compiled formulas, built at the first call and kept; null for a service of unknown usage. Any thread may
    /// call. Throws the formulas' errors, each time anew.
    const UsageModel* Usage() const;

private:
    mutable qpr::Mutex m_usageLock;
    mutable std::unique_ptr<const UsageModel> m_usage QX_GUARDED_BY(m_usageLock); // set once
};

} // namespace qxm
