#pragma once

#include "config/XmlDocument.h"

#include <string>

namespace qxm
{

/// What is wrong with a configuration file, and where. The text is the error's own, which may not name the file.
class ConfigurationError : public XmlError
{
public:
    ConfigurationError(const XmlError& error, std::wstring path)
        : XmlError(error)
        , m_path(std::move(path))
    {
    }

    const std::wstring& GetPath() const noexcept { return m_path; }

private:
    std::wstring m_path;
};

/// A file that holds a configuration, as an XML tree.
struct ConfigurationFile
{
    std::wstring path;
    XmlElement root;

    /// Throws a ConfigurationError, and what opening the file throws. A template, if given, holds all that is allowed.
    static ConfigurationFile Read(const std::wstring& path, const XmlElement* templateRoot = nullptr);

    /// The file's own, to which the paths in it are relative.
    std::wstring Directory() const;

    /// The result of the action, which reads something of the element: a RuntimeError of its own becomes a
    /// ConfigurationError with the same text, at the attribute of that name or else at the element.
    template <class Action>
    auto At(const XmlElement& element, std::wstring_view attributeName, Action action) const
    {
        try
        {
            return action();
        }
        catch (const ConfigurationError&)
        {
            throw;
        }
        catch (const qpr::RuntimeError& error)
        {
            throw ConfigurationError(XmlError(qpr::ErrorText(error), element.PositionOf(attributeName)), path);
        }
    }

    [[noreturn]] void Fail(const XmlElement& element, std::wstring_view attributeName, const std::wstring& text) const;
};

} // namespace qxm
