#pragma once

#include "streams/ByteStreams.h"

#include <istream>
#include <ostream>
#include <streambuf>
#include <string>
#include <string_view>

/// Wide text over byte streams in UTF-8. The byte stream is not owned and outlives these; its errors pass through. Used
/// by one thread at a time.
namespace qpr
{

/// Decodes strictly, one character at a time, and takes no byte beyond the character asked for. Sequences have up to
/// four bytes. Throws "Invalid lead byte (0x80) in UTF-8 input stream", "Invalid continuation byte (0x28) in UTF-8
/// input stream", "Unexpected end of UTF-8 input stream", and "MultiByteToWideChar() failed" for what is no code point.
class UTF8InputStreamBuffer : public std::wstreambuf
{
public:
    explicit UTF8InputStreamBuffer(std::istream& source)
        : m_source(source)
    {
    }

protected:
    int_type underflow() override;

private:
    /// Decodes one character into m_characters; false at the end of the data.
    bool ReadChar();
    char32_t ReadSequence(unsigned char lead, int length);

    std::istream& m_source; // not owned
    std::wstring m_characters;
};

class UTF8InputStream : public std::wistream
{
public:
    explicit UTF8InputStream(std::istream& source)
        : std::wistream(nullptr)
        , m_buffer(source)
    {
        AttachStreamBuffer<wchar_t>(*this, m_buffer);
    }

private:
    UTF8InputStreamBuffer m_buffer;
};

/// Encodes without a buffer of its own: the bytes go to the byte stream at once, and a flush flushes that. A surrogate
/// pair is one code point, also when its halves are written apart; a lone one throws "WideCharToMultiByte() failed".
class UTF8OutputStreamBuffer : public std::wstreambuf
{
public:
    explicit UTF8OutputStreamBuffer(std::ostream& target)
        : m_target(target)
    {
    }

protected:
    int_type overflow(int_type character) override;
    std::streamsize xsputn(const wchar_t* source, std::streamsize size) override;
    int sync() override;

private:
    bool Write(std::wstring_view text);

    std::ostream& m_target; // not owned
    std::wstring m_highSurrogate; ///< the first half of a pair whose second half has not come
};

class UTF8OutputStream : public std::wostream
{
public:
    explicit UTF8OutputStream(std::ostream& target)
        : std::wostream(nullptr)
        , m_buffer(target)
    {
        AttachStreamBuffer<wchar_t>(*this, m_buffer);
    }

private:
    UTF8OutputStreamBuffer m_buffer;
};

} // namespace qpr
