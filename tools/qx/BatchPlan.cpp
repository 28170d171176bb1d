#include "tools/qx/BatchPlan.h"

#include "runtime/channels/FilePath.h"
#include "tools/qx/ByteFile.h"
#include "tools/qx/ExitCode.h"

#include <iostream>
#include <map>

namespace qx
{

namespace
{

void AppendNames(std::istream& list, char separator, std::vector<std::string>& files)
{
    for (std::string name; std::getline(list, name, separator);)
    {
        if (separator == '\n' && name.ends_with('\r'))
            name.pop_back();
        if (!name.empty())
            files.push_back(name);
    }
}

std::filesystem::path OutputOf(
    const std::filesystem::path& file, const std::filesystem::path& outputDirectory, const std::string& suffix)
{
    std::filesystem::path name = file.filename();
    if (name.empty() || name == "." || name == "..")
        throw WrongCommandLine("'" + NameOf(file) + "' is not a file");
    return outputDirectory / (name += qpr::PathOfArgument(suffix));
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

std::vector<std::string> ExpandFileArguments(const std::vector<std::string>& arguments, char separator)
{
    std::vector<std::string> files;
    for (const std::string& argument : arguments)
    {
        if (argument == "-")
        {
            AppendNames(std::cin, separator, files);
        }
        else if (argument.starts_with('@'))
        {
            std::ifstream list = OpenToRead(qpr::PathOfArgument(argument.substr(1)));
            AppendNames(list, separator, files);
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
    std::map<std::filesystem::path, std::string> nameOfOutput;
    std::set<std::filesystem::path> inputs;
    for (const std::string& argument : files)
    {
        const std::filesystem::path file = qpr::PathOfArgument(argument);
        items.push_back({items.size() + 1, file, NameOf(file), OutputOf(file, outputDirectory, suffix)});
        const BatchItem& item = items.back();
        const auto [other, isNew] = nameOfOutput.emplace(item.output, item.name);
        if (!isNew)
            throw WrongCommandLine("'" + other->second + "' and '" + item.name + "' would have the same output");
        inputs.insert(Identity(file));
    }
    const std::filesystem::path directory = Identity(outputDirectory);
    for (const BatchItem& item : items)
    {
        if (inputs.contains(directory / item.output.filename()))
            throw WrongCommandLine("the output of '" + item.name + "' would replace an input");
    }
    return items;
}

} // namespace qx
