#include "config/ConfigurationFile.h"

#include "runtime/FilePath.h"
#include "runtime/InputFile.h"

namespace qxm
{

ConfigurationFile ConfigurationFile::Read(const std::wstring& path, const XmlElement* templateRoot)
{
    std::ifstream file = qpr::OpenInputFile(path);
    try
    {
        return {path, XmlDocument::Read(file, L"configuration file '" + path + L"'", templateRoot).root};
    }
    catch (const XmlError& error)
    {
        throw ConfigurationError(error, path);
    }
}

std::wstring ConfigurationFile::Directory() const
{
    return qpr::DirectoryOf(qpr::FullPath(path));
}

void ConfigurationFile::Fail(const XmlElement& element, std::wstring_view attributeName, const std::wstring& text) const
{
    throw ConfigurationError(XmlError(text, element.PositionOf(attributeName)), path);
}

} // namespace qxm
