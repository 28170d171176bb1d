#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace qx
{

/// One file of a batch and where its output goes.
struct BatchItem
{
    std::size_t number; ///< from 1, in the order given
    std::filesystem::path file; ///< as given
    std::string name; ///< the file's, for people and the job log
    std::filesystem::path output;
};

/// The files that the arguments name: a path, "@LIST" for a file with one path per line, "-" for such a list on the
/// standard input. With a separator of 0 the paths of a list end in that instead. Throws std::runtime_error for a list
/// that cannot be read.
std::vector<std::string> ExpandFileArguments(const std::vector<std::string>& arguments, char separator = '\n');

/// Gives each file its output. Throws WrongCommandLine when two would have one output, or one would replace an input.
std::vector<BatchItem> PlanBatch(
    const std::vector<std::string>& files, const std::filesystem::path& outputDirectory, const std::string& suffix);

} // namespace qx
