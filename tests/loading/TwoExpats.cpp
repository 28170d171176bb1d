// Loads the libraries that it is given, in that order and all names visible to all, as in a process that links them.
// One of them is ours and one is Expat: both must read a document as they do alone.

#include <dlfcn.h>
#include <expat.h>

#include <exception>
#include <iostream>
#include <string>

namespace qxmi
{
class IServiceConnectorW;
}

namespace
{

template <class Function>
Function* Find(const char* name)
{
    void* const symbol = dlsym(RTLD_DEFAULT, name);
    if (!symbol)
        std::cerr << name << " is in none of the libraries\n";
    return reinterpret_cast<Function*>(symbol);
}

std::string RootNameByExpat(const std::string& document)
{
    std::string name;
    const XML_Parser parser = Find<decltype(XML_ParserCreate)>("XML_ParserCreate")(nullptr);
    Find<decltype(XML_SetUserData)>("XML_SetUserData")(parser, &name);
    Find<decltype(XML_SetElementHandler)>("XML_SetElementHandler")(
        parser,
        [](void* root, const XML_Char* element, const XML_Char**) { *static_cast<std::string*>(root) = element; },
        nullptr);
    Find<decltype(XML_Parse)>("XML_Parse")(parser, document.data(), static_cast<int>(document.size()), true);
    Find<decltype(XML_ParserFree)>("XML_ParserFree")(parser);
    return name;
}

std::string ErrorOfConnector(const std::string& configuration)
try
{
    const auto create = Find<qxmi::IServiceConnectorW*(const std::string&)>(
        "_ZN4qxmi23CreateServiceConnectorWERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE");
    create(configuration);
    return "no error";
}
catch (const std::exception& error)
{
    return error.what();
}

} // namespace

int main(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i)
    {
        if (!dlopen(argv[i], RTLD_NOW | RTLD_GLOBAL))
            std::cerr << dlerror() << '\n';
    }
    const std::string name = "Gr\u00F6\u00DFe";
    const std::string byExpat = RootNameByExpat("<" + name + "/>");
    const std::string byLibrary = ErrorOfConnector("<" + name + "/>");
    std::cout << byExpat << '\n' << byLibrary << '\n';
    return byExpat == name && byLibrary == "Invalid service connector name '" + name + "'" ? 0 : 1;
}
