#include "ZelCore/IO/Compression/DeflateStream.h"

#include "ZelCore/ArgumentOutOfRangeException.h"
#include "ZelCore/Arguments.h"
#include "ZelCore/IO/IOException.h"
#include "ZelCore/InvalidOperationException.h"
#include "ZelCore/NotSupportedException.h"
#include "ZelCore/String.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <utility>
#include <vector>
#include <zlib.h>

namespace ZelCore::IO::Compression {

namespace {

constexpr std::size_t BufferSize = 16384;
constexpr std::size_t LargestPiece = 0x40000000; // zlib counts in 32 bits
constexpr unsigned Utf8 = 65001;

const wchar_t* GetModeText(CompressionMode mode) {
    switch (mode) {
    case CompressionMode::Compress:
        return L"Compress";
    case CompressionMode::Decompress:
        return L"Decompress";
    default:
        return L"Unknown";
    }
}

[[noreturn]] void ThrowZlib(const z_stream& zlib, int result, const wchar_t* method, const wchar_t* file, int line) {
    std::wstring text;
    if (zlib.msg != nullptr && *zlib.msg != '\0') {
        text = CString::ToWideChar(zlib.msg, static_cast<int>(std::strlen(zlib.msg)), Utf8);
    }
    throw CIOException(result, text.c_str(), method, file, line);
}

[[noreturn]] void ThrowClosed(const wchar_t* method, const wchar_t* file, int line) {
    throw CInvalidOperationException(GetMessageText(Message::InvalidHandle), method, file, line);
}

} // namespace

class CDeflateStream::impl {
public:
    impl(CompressionMode mode, std::shared_ptr<CStream> owner, CStream* stream, bool gzip)
        : m_mode(mode), m_owner(std::move(owner)), m_stream(stream), m_buffer(BufferSize) {
        Initialize(gzip);
    }
    impl(const impl&) = delete;
    impl& operator=(const impl&) = delete;
    ~impl() {
        Close();
    }

    bool IsOpen() const noexcept {
        return !m_buffer.empty();
    }
    CompressionMode GetMode() const noexcept {
        return m_mode;
    }

    void Write(const unsigned char* data, std::size_t count);
    std::size_t Inflate(unsigned char* buffer, std::size_t count);
    void Close();

private:
    void Initialize(bool gzip);
    void Deflate(const unsigned char* data, std::size_t count, int flush);
    int InflateInto(unsigned char* buffer, std::size_t count, std::size_t& produced);
    void Release() noexcept;

    CompressionMode m_mode;
    std::shared_ptr<CStream> m_owner;
    CStream* m_stream;
    z_stream m_zlib{};
    std::vector<unsigned char> m_buffer;
    std::exception_ptr m_failure; ///< the failure after which zlib and the other stream are out of step
    bool m_ended = false;         ///< the end of the compressed data was reached
};

void CDeflateStream::impl::Initialize(bool gzip) {
    if (m_stream == nullptr) {
        throw CArgumentNullException(L"stream", nullptr,
                                     ZEL_SITE(L"ZelCore::IO::Compression::CDeflateStream::impl::Initialize", 144));
    }
    if (m_mode == CompressionMode::Compress && !Includes(m_stream->GetCapabilities(), StreamCapabilities::CanWrite)) {
        throw CArgumentException(L"mode", L"Stream must be writable when mode is 'Compress'",
                                 ZEL_SITE(L"ZelCore::IO::Compression::CDeflateStream::impl::Initialize", 150));
    }
    if (m_mode == CompressionMode::Decompress && !Includes(m_stream->GetCapabilities(), StreamCapabilities::CanRead)) {
        throw CArgumentException(L"mode", L"Stream must be readable when mode is 'Decompress'",
                                 ZEL_SITE(L"ZelCore::IO::Compression::CDeflateStream::impl::Initialize", 157));
    }
    if (m_mode != CompressionMode::Compress && m_mode != CompressionMode::Decompress) {
        throw CArgumentOutOfRangeException(
            L"mode", GetModeText(m_mode), nullptr,
            ZEL_SITE(L"ZelCore::IO::Compression::CDeflateStream::impl::Initialize", 162));
    }
    constexpr int memoryLevel = 8;
    const int windowBits = gzip ? 16 + MAX_WBITS : -MAX_WBITS;
    const int result = m_mode == CompressionMode::Compress ? ::deflateInit2(&m_zlib, Z_DEFAULT_COMPRESSION, Z_DEFLATED,
                                                                            windowBits, memoryLevel, Z_DEFAULT_STRATEGY)
                                                           : ::inflateInit2(&m_zlib, windowBits);
    if (result != Z_OK) {
        ThrowZlib(m_zlib, result, ZEL_SITE(L"ZelCore::IO::Compression::CDeflateStream::impl::Initialize", 182));
    }
}

void CDeflateStream::impl::Write(const unsigned char* data, std::size_t count) {
    if (m_failure) { // never continue after missing data
        std::rethrow_exception(m_failure);
    }
    while (count != 0) {
        const std::size_t piece = std::min(count, LargestPiece);
        Deflate(data, piece, Z_NO_FLUSH);
        data += piece;
        count -= piece;
    }
}

void CDeflateStream::impl::Deflate(const unsigned char* data, std::size_t count, int flush) {
    m_zlib.next_in = const_cast<unsigned char*>(data); // zlib only reads it
    m_zlib.avail_in = static_cast<uInt>(count);
    try {
        do {
            m_zlib.next_out = m_buffer.data();
            m_zlib.avail_out = static_cast<uInt>(m_buffer.size());
            const int result = ::deflate(&m_zlib, flush);
            if (result < 0) {
                // Unreached: deflate does not fail on a stream that was initialized correctly.
                ThrowZlib(m_zlib, result, ZEL_SITE(L"ZelCore::IO::Compression::CDeflateStream::impl::Deflate", 103));
            }
            m_stream->Write(m_buffer.data(), m_buffer.size() - m_zlib.avail_out);
        } while (m_zlib.avail_out == 0);
    } catch (...) {
        m_failure = std::current_exception();
        throw;
    }
}

std::size_t CDeflateStream::impl::Inflate(unsigned char* buffer, std::size_t count) {
    std::size_t total = 0;
    while (total < count && !m_ended) {
        std::size_t produced = 0;
        const int result = InflateInto(buffer + total, std::min(count - total, LargestPiece), produced);
        total += produced;
        m_ended = result == Z_STREAM_END;
    }
    return total;
}

int CDeflateStream::impl::InflateInto(unsigned char* buffer, std::size_t count, std::size_t& produced) {
    // Site: does the work of Inflate; its line is published.
    m_zlib.next_out = buffer;
    m_zlib.avail_out = static_cast<uInt>(count);
    int result = Z_OK;
    while (result == Z_OK && m_zlib.avail_out != 0) {
        if (m_zlib.avail_in == 0) {
            const std::size_t read = m_stream->Read(m_buffer.data(), m_buffer.size());
            m_zlib.next_in = m_buffer.data();
            m_zlib.avail_in = static_cast<uInt>(std::min(read, m_buffer.size()));
        }
        result = ::inflate(&m_zlib, Z_NO_FLUSH);
        if (result == Z_NEED_DICT) { // no preset dictionary can be supplied
            result = Z_DATA_ERROR;
        }
        if (result < 0) {
            ThrowZlib(m_zlib, result, ZEL_SITE(L"ZelCore::IO::Compression::CDeflateStream::impl::Inflate", 135));
        }
    }
    produced = count - m_zlib.avail_out;
    return result;
}

void CDeflateStream::impl::Close() {
    if (!IsOpen()) {
        return;
    }
    struct Releasing {
        impl& self;
        ~Releasing() {
            self.Release();
        }
    } const releasing{*this};
    if (m_mode == CompressionMode::Compress && !m_failure) {
        Deflate(nullptr, 0, Z_FINISH);
    }
}

void CDeflateStream::impl::Release() noexcept {
    if (m_mode == CompressionMode::Compress) {
        ::deflateEnd(&m_zlib);
    } else {
        ::inflateEnd(&m_zlib);
    }
    m_buffer.clear();
}

CDeflateStream::CDeflateStream(CStream& stream, CompressionMode mode, bool gzip)
    : m_impl(std::make_unique<impl>(mode, nullptr, &stream, gzip)) {}

CDeflateStream::CDeflateStream(const std::shared_ptr<CStream>& stream, CompressionMode mode, bool gzip)
    : m_impl(std::make_unique<impl>(mode, stream, stream.get(), gzip)) {}

CDeflateStream::CDeflateStream(CDeflateStream&& other) noexcept : m_impl(std::move(other.m_impl)) {}

CDeflateStream& CDeflateStream::operator=(CDeflateStream&& other) noexcept {
    if (this != &other) {
        m_impl = std::move(other.m_impl);
    }
    return *this;
}

CDeflateStream::~CDeflateStream() noexcept = default;

bool CDeflateStream::IsOpen() const noexcept {
    return m_impl && m_impl->IsOpen();
}

void CDeflateStream::Close() {
    if (m_impl) {
        m_impl->Close();
    }
}

void CDeflateStream::Flush() {
    if (!IsOpen()) {
        ThrowClosed(ZEL_SITE(L"ZelCore::IO::Compression::CDeflateStream::Flush", 230));
    }
}

StreamCapabilities CDeflateStream::GetCapabilities() const {
    if (!IsOpen()) {
        return StreamCapabilities::None;
    }
    return m_impl->GetMode() == CompressionMode::Compress ? StreamCapabilities::CanWrite : StreamCapabilities::CanRead;
}

std::int64_t CDeflateStream::GetLength() const {
    throw CNotSupportedException(nullptr, ZEL_SITE(L"ZelCore::IO::Compression::CDeflateStream::GetLength", 248));
}

const wchar_t* CDeflateStream::GetName() const {
    return L"";
}

std::int64_t CDeflateStream::GetPosition() const {
    throw CNotSupportedException(nullptr, ZEL_SITE(L"ZelCore::IO::Compression::CDeflateStream::GetPosition", 254));
}

std::size_t CDeflateStream::Read(unsigned char* buffer, std::size_t count) {
    if (!IsOpen()) {
        ThrowClosed(ZEL_SITE(L"ZelCore::IO::Compression::CDeflateStream::Read", 261));
    }
    if (m_impl->GetMode() != CompressionMode::Decompress) {
        throw CInvalidOperationException(L"Cannot read from the compression stream",
                                         ZEL_SITE(L"ZelCore::IO::Compression::CDeflateStream::Read", 265));
    }
    if (count == 0) {
        return 0;
    }
    CheckNotNull(buffer, L"buffer", ZEL_SITE(L"ZelCore::IO::Compression::CDeflateStream::Read"));
    return m_impl->Inflate(buffer, count);
}

std::int64_t CDeflateStream::Seek(std::int64_t, SeekOrigin) {
    throw CNotSupportedException(nullptr, ZEL_SITE(L"ZelCore::IO::Compression::CDeflateStream::Seek", 281));
}

void CDeflateStream::Write(const unsigned char* data, std::size_t count) {
    if (!IsOpen()) {
        ThrowClosed(ZEL_SITE(L"ZelCore::IO::Compression::CDeflateStream::Write", 288));
    }
    if (m_impl->GetMode() != CompressionMode::Compress) {
        throw CInvalidOperationException(L"Cannot write to the decompression stream",
                                         ZEL_SITE(L"ZelCore::IO::Compression::CDeflateStream::Write", 292));
    }
    if (count == 0) {
        return;
    }
    CheckNotNull(data, L"data", ZEL_SITE(L"ZelCore::IO::Compression::CDeflateStream::Write"));
    m_impl->Write(data, count);
}

} // namespace ZelCore::IO::Compression
