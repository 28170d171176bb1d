#pragma once

#include <memory>

namespace qpr
{

/// Who may open the named objects that are created with it: their creator alone, or everyone in the name's scope.
class SecurityDescriptor
{
public:
    /// Throws "LocalAlloc() failed" or "InitializeSecurityDescriptor() failed".
    SecurityDescriptor();
    ~SecurityDescriptor();
    SecurityDescriptor(const SecurityDescriptor&) = delete;
    SecurityDescriptor& operator=(const SecurityDescriptor&) = delete;

    /// Every user may open and change the objects; those of a "Local\" name stay within their scope.
    /// Throws "SetSecurityDescriptorDacl() failed".
    void GrantAllAccess();

    struct Buffer; ///< the platform's own form
    const Buffer& GetBuffer() const noexcept { return *m_buffer; }

private:
    std::unique_ptr<Buffer> m_buffer;
};

} // namespace qpr
