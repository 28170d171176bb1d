#pragma once

#include "runtime/IReader.h"
#include "runtime/IWriter.h"

#include <string>

namespace qxd
{

struct CopyEnd
{
    enum Kind
    {
        Kind_EndOfData,
        Kind_SourceFailed,
        Kind_TargetFailed,
    };

    Kind kind;
    std::wstring error; ///< of the side that failed
};

/// Copies what comes, as it comes, until the end of the data or until one side fails; a cancelled wait
/// counts as that.
CopyEnd CopyBytes(qpr::IReader& source, qpr::IWriter& target);

/// Reads until the end of the data, or until the source fails, and drops what it reads.
void DiscardBytes(qpr::IReader& source);

} // namespace qxd
