#pragma once

#include "streams/StreamFailure.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <istream>
#include <locale>
#include <memory>
#include <ostream>
#include <streambuf>
#include <string>

/// std::istream and std::ostream over readers and writers of bytes. All of them throw what their channel throws (an
/// interrupt included) and throw it again at each later use, never write in a destructor, format in the classic locale,
/// and are used by one thread at a time. Buffers are allocated at their first use; requests at least as large as the
/// buffer bypass it.
namespace qpr
{

/// Attaches one of our buffers to a stream that was constructed without a buffer.
template <class CharT>
void AttachStreamBuffer(std::basic_ios<CharT>& stream, std::basic_streambuf<CharT>& buffer)
{
    stream.rdbuf(&buffer);
    stream.imbue(std::locale::classic());
    stream.exceptions(std::ios_base::badbit);
}

/// Undoes what an exception of the buffer did to the stream; for StreamFailure.
template <class CharT>
void MakeGood(std::basic_ios<CharT>& stream)
{
    if (stream.bad())
        stream.clear();
}

/// The most that is passed to a channel at once: system calls count in 32 bits.
inline constexpr std::size_t largestRequest = std::size_t(1) << 30;

/// The memory of a stream's buffer, not initialised, with room for one character before its start.
///
/// A large one starts in the middle of a page, because applications' large blocks mostly start at the beginning of one:
/// some processors copy at a twentieth of their speed when the target's offset in its page is a few bytes behind that
/// of the source.
template <class CharT>
class BufferMemory
{
public:
    BufferMemory() noexcept = default;

    explicit BufferMemory(std::size_t size)
        : m_memory(std::make_unique_for_overwrite<CharT[]>(size + (size < pageSize ? 1 : 2 * pageSize)))
        , m_start(m_memory.get() + 1)
    {
        if (size < pageSize)
            return;
        const auto address = reinterpret_cast<std::uintptr_t>(m_memory.get());
        const std::uintptr_t page = (address + pageSize - 1) / pageSize * pageSize;
        m_start = m_memory.get() + (page + pageSize / 2 - address) / sizeof(CharT);
    }

    CharT* Start() const noexcept { return m_start; }

private:
    static constexpr std::size_t pageSize = 4096; // bytes

    std::unique_ptr<CharT[]> m_memory;
    CharT* m_start = nullptr;
};

/// Takes bytes from a Reader (IReader's two operations), which is not owned. With a size of 1 it takes no more bytes
/// from the channel than were asked for. The last byte read can always be put back, also as another byte; whether more
/// can depends on what is buffered. There are no positions.
template <class Reader>
class GenericInputStreamBuffer : public std::streambuf, public StreamFailure
{
public:
    GenericInputStreamBuffer(Reader& reader, std::size_t bufferSize)
        : m_reader(reader)
        , m_bufferSize(bufferSize)
    {
    }

    /// True when taking a byte would not block: one is buffered, or the reader has data or its end.
    bool InputPending() { return gptr() != egptr() || ChannelPending(); }

protected:
    int_type underflow() override
    {
        if (gptr() == egptr() && Fill() == 0)
            return traits_type::eof();
        return traits_type::to_int_type(*gptr());
    }

    std::streamsize xsgetn(char* target, std::streamsize size) override
    {
        std::streamsize done = 0;
        while (done < size)
        {
            const std::size_t taken = TakeSome(target + done, static_cast<std::size_t>(size - done));
            if (taken == 0)
                break;
            done += static_cast<std::streamsize>(taken);
        }
        return done;
    }

    /// What can be had without blocking, -1 at the end of the data.
    std::streamsize showmanyc() override
    {
        if (!ChannelPending())
            return 0;
        const std::size_t count = Fill();
        return count == 0 ? -1 : static_cast<std::streamsize>(count);
    }

    int_type pbackfail(int_type byte) override
    {
        if (gptr() == eback())
            ThrowPassing(L"No byte left that can be put back");
        gbump(-1);
        if (!traits_type::eq_int_type(byte, traits_type::eof()))
            *gptr() = traits_type::to_char_type(byte);
        return traits_type::not_eof(byte);
    }

private:
    /// Requires: nothing is left in the buffer but what can be put back.
    std::size_t Fill()
    {
        if (!m_buffer.Start())
            m_buffer = BufferMemory<char>(m_bufferSize);
        char* const start = m_buffer.Start();
        const bool hasLast = gptr() != eback();
        if (hasLast)
            start[-1] = gptr()[-1];
        const std::size_t count = ReadChannel(start, m_bufferSize);
        setg(hasLast ? start - 1 : start, start, start + count);
        return count;
    }

    /// The same requirement.
    std::size_t BypassBuffer(char* target, std::size_t size)
    {
        const std::size_t count = ReadChannel(target, size);
        if (count != 0)
        {
            m_last = target[count - 1];
            setg(&m_last, &m_last + 1, &m_last + 1);
        }
        return count;
    }

    std::size_t TakeSome(char* target, std::size_t size)
    {
        if (gptr() == egptr())
        {
            if (size >= m_bufferSize)
                return BypassBuffer(target, size);
            if (Fill() == 0)
                return 0;
        }
        const std::size_t taken = std::min(size, static_cast<std::size_t>(egptr() - gptr()));
        traits_type::copy(target, gptr(), taken);
        setg(eback(), gptr() + taken, egptr());
        return taken;
    }

    bool ChannelPending()
    {
        return KeepFailure([this] { return m_reader.InputPending(); });
    }

    std::size_t ReadChannel(char* target, std::size_t size)
    {
        return KeepFailure([&] { return m_reader.Read(target, std::min(size, largestRequest)); });
    }

    Reader& m_reader; // not owned
    const std::size_t m_bufferSize;
    BufferMemory<char> m_buffer; ///< the byte before its start can be put back
    char m_last = 0; ///< the last byte of a read that bypassed the buffer, to be put back
};

/// Collects characters for a Writer (IWriter's two operations, sizes in characters), which is not owned. They reach it
/// when the buffer is full and when the stream is flushed; what is left unflushed at the end is dropped, and so is what
/// was buffered when a write failed.
template <class Writer, class CharT = char>
class GenericOutputStreamBuffer : public std::basic_streambuf<CharT>, public StreamFailure
{
    using Base = std::basic_streambuf<CharT>;
    using Traits = typename Base::traits_type;

public:
    GenericOutputStreamBuffer(Writer& writer, std::size_t bufferSize)
        : m_writer(writer)
        , m_bufferSize(bufferSize)
    {
    }

    /// The end of the output: what has not been passed to the writer is dropped, each write from now on throws at once,
    /// a flush does nothing. The writer is no longer used: its handle may be that of another object by then.
    void End() noexcept
    {
        m_hasEnded = true;
        this->setp(nullptr, nullptr);
    }

protected:
    typename Base::int_type overflow(typename Base::int_type character) override
    {
        Operate([this] { MakeRoom(); });
        if (!Traits::eq_int_type(character, Traits::eof()))
        {
            *this->pptr() = Traits::to_char_type(character);
            this->pbump(1);
        }
        return Traits::not_eof(character);
    }

    std::streamsize xsputn(const CharT* source, std::streamsize size) override
    {
        std::size_t left = static_cast<std::size_t>(size);
        Operate(
            [&]
            {
                while (left != 0)
                {
                    const std::size_t taken = PutSome(source, left);
                    source += taken;
                    left -= taken;
                }
            });
        return size;
    }

    int sync() override
    {
        if (m_hasEnded)
            return 0;
        Operate(
            [this]
            {
                WriteBuffered();
                m_writer.Flush();
            });
        return 0;
    }

private:
    /// What a write does. After an error there is no put area, so that each further write gets here and is refused.
    template <class Operation>
    void Operate(Operation operation)
    {
        try
        {
            KeepFailure(
                [&]
                {
                    if (m_hasEnded)
                        throw RuntimeError(L"Write after the end of the output");
                    operation();
                });
        }
        catch (...)
        {
            this->setp(nullptr, nullptr);
            throw;
        }
    }

    std::size_t Buffered() const { return static_cast<std::size_t>(this->pptr() - this->pbase()); }

    std::size_t PutSome(const CharT* source, std::size_t size)
    {
        if (Buffered() != 0 && this->pptr() == this->epptr())
            WriteBuffered();
        if (Buffered() == 0 && size >= m_bufferSize)
        {
            const std::size_t direct = std::min(size, largestRequest / sizeof(CharT));
            WriteChannel(source, direct);
            return direct;
        }
        if (!m_buffer.Start())
            MakeRoom();
        const std::size_t taken = std::min(size, static_cast<std::size_t>(this->epptr() - this->pptr()));
        Traits::copy(this->pptr(), source, taken);
        this->pbump(static_cast<int>(taken));
        return taken;
    }

    void MakeRoom()
    {
        if (m_buffer.Start())
            return WriteBuffered();
        m_buffer = BufferMemory<CharT>(m_bufferSize);
        this->setp(m_buffer.Start(), m_buffer.Start() + m_bufferSize);
    }

    void WriteBuffered()
    {
        const std::size_t size = Buffered();
        this->setp(m_buffer.Start(), this->epptr());
        if (size != 0)
            WriteChannel(m_buffer.Start(), size);
    }

    void WriteChannel(const CharT* source, std::size_t size) { m_writer.Write(source, size); }

    Writer& m_writer; // not owned
    const std::size_t m_bufferSize;
    BufferMemory<CharT> m_buffer;
    bool m_hasEnded = false;
};

/// A byte stream that owns such a buffer; the reader outlives it.
template <class Reader>
class GenericInputStream : public std::istream
{
public:
    GenericInputStream(Reader& reader, std::size_t bufferSize)
        : std::istream(nullptr)
        , m_buffer(reader, bufferSize)
    {
        AttachStreamBuffer<char>(*this, m_buffer);
        m_buffer.ReviveStreamWith([this] { MakeGood<char>(*this); });
    }

    bool InputPending() { return m_buffer.InputPending(); }

private:
    GenericInputStreamBuffer<Reader> m_buffer;
};

/// A stream that owns such a buffer; the writer outlives it. Wide ones take a writer of wide characters.
template <class Writer, class CharT = char>
class GenericOutputStream : public std::basic_ostream<CharT>
{
public:
    GenericOutputStream(Writer& writer, std::size_t bufferSize)
        : std::basic_ostream<CharT>(nullptr)
        , m_buffer(writer, bufferSize)
    {
        AttachStreamBuffer<CharT>(*this, m_buffer);
        m_buffer.ReviveStreamWith([this] { MakeGood<CharT>(*this); });
    }

    void End() noexcept { m_buffer.End(); }

private:
    GenericOutputStreamBuffer<Writer, CharT> m_buffer;
};

} // namespace qpr
