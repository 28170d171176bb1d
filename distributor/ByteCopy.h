#pragma once

#include "runtime/IReader.h"
#include "runtime/IWriter.h"

namespace qxd
{

enum class CopyEnd
{
    EndOfData,
    SourceFailed,
    TargetFailed,
};

/// Copies what comes, as it comes, until the end of the data or until one side fails; a cancelled wait
/// counts as that.
CopyEnd CopyBytes(qpr::IReader& source, qpr::IWriter& target);

/// Reads until the end of the data, or until the source fails, and drops what it reads.
void DiscardBytes(qpr::IReader& source);

} // namespace qxd
