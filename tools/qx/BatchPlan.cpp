#include "tools/qx/BatchPlan.h"

#include "runtime/FilePath.h"
#include "runtime/InputFile.h"
#include "runtime/Utf8.h"
#include "tools/qx/ExitCode.h"

#include <iostream>
#include <map>

namespace qx
{

namespace
{

std::filesystem::path ToPath(const std::string& utf8)
{
    return qpr::ToFilesystemPath(qpr::FromUtf8(utf8));
}

void AppendLines(std::istream& list, std::vector<std::string>& files)
{
    for (std::string line; std::getline(list, line);)
    {
        if (line.ends_with('\r'))
            line.pop_back();
        if (!line.empty())
            files.push_back(line);
    }
}

std::filesystem::path OutputOf(
    const std::string& file, const std::filesystem::path& outputDirectory, const std::string& suffix)
{
    std::filesystem::path name = ToPath(file).filename();
    if (name.empty() || name == "." || name == "..")
        throw WrongCommandLine("'" + file + "' is not a file");
    return outputDirectory / (name += ToPath(suffix));
}

/// What two ways to write one path have in common.
std::filesystem::path Identity(const std::filesystem::path& path)
{
    std::error_code ignored;
    std::filesystem::path identity =
        std::filesystem::weakly_canonical(std::filesystem::absolute(path, ignored), ignored);
    return ignored ? path : identity;
}

} // namespace

std::vector<std::string> ExpandFileArguments(const std::vector<std::string>& arguments)
{
    std::vector<std::string> files;
    for (const std::string& argument : arguments)
    {
        if (argument == "-")
        {
            AppendLines(std::cin, files);
        }
        else if (argument.starts_with('@'))
        {
            std::ifstream list = qpr::OpenInputFile(qpr::FromUtf8(argument.substr(1)));
            AppendLines(list, files);
        }
        else
        {
            files.push_back(argument);
        }
    }
    return files;
}

std::vector<BatchItem> PlanBatch(
    const std::vector<std::string>& files, const std::filesystem::path& outputDirectory, const std::string& suffix)
{
    std::vector<BatchItem> items;
    std::map<std::filesystem::path, std::string> fileOfOutput;
    for (const std::string& file : files)
    {
        items.push_back({items.size() + 1, file, OutputOf(file, outputDirectory, suffix)});
        const auto [other, isNew] = fileOfOutput.emplace(items.back().output, file);
        if (!isNew)
            throw WrongCommandLine("'" + other->second + "' and '" + file + "' would have the same output");
    }
    std::set<std::filesystem::path> inputs;
    for (const std::string& file : files)
        inputs.insert(Identity(ToPath(file)));
    const std::filesystem::path directory = Identity(outputDirectory);
    for (const BatchItem& item : items)
    {
        if (inputs.contains(directory / item.output.filename()))
            throw WrongCommandLine("the output of '" + item.file + "' would replace an input");
    }
    return items;
}

} // namespace qx
