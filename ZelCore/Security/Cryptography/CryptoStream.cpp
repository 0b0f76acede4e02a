#include "ZelCore/Security/Cryptography/CryptoStream.h"

#include "ZelCore/ArgumentOutOfRangeException.h"
#include "ZelCore/Arguments.h"
#include "ZelCore/InvalidOperationException.h"
#include "ZelCore/NotSupportedException.h"
#include "ZelCore/ThrowSite.h"
#include "ZelCore/ZeroMemoryAllocator.h"

#include <algorithm>
#include <exception>
#include <new>
#include <utility>

namespace ZelCore::Security::Cryptography {

using IO::CStream;
using IO::SeekOrigin;
using IO::StreamCapabilities;

namespace {

constexpr std::size_t LargestBlock = 0x7FFFFFFF;
constexpr std::size_t LargestRound = 1 << 20; // bytes that are transformed at once

/// Buffers are wiped before they are shrunk, moved or released, because a transform fills vectors whose allocator does
/// not wipe.
void Wipe(std::vector<unsigned char>& bytes) noexcept {
    WipeMemory(bytes.data(), bytes.size());
}

} // namespace

class CCryptoStream::impl {
public:
    impl(CryptoStreamMode mode, std::shared_ptr<CStream> streamOwner, CStream* stream,
         std::shared_ptr<ICryptoTransform> transformOwner, ICryptoTransform* transform)
        : m_mode(mode), m_streamOwner(std::move(streamOwner)), m_stream(stream),
          m_transformOwner(std::move(transformOwner)), m_transform(transform) {
        Initialize();
    }
    impl(const impl&) = delete;
    impl& operator=(const impl&) = delete;
    ~impl() {
        if (m_failed) {
            m_finalBlockDone = true; // data is missing in the other stream: the message must not be completed
        }
        Close();
    }

    bool IsOpen() const noexcept {
        return !m_input.empty();
    }
    CryptoStreamMode GetMode() const noexcept {
        return m_mode;
    }
    void Close();
    std::size_t Read(unsigned char* buffer, std::size_t count);
    void Write(const unsigned char* buffer, std::size_t count);

private:
    void Initialize();
    void FlushFinalBlock();
    void Release() noexcept;
    std::size_t TakeHeldOutput(unsigned char* buffer, std::size_t count) noexcept;
    void ReadInto(unsigned char* buffer, std::size_t count, std::size_t& copied);
    bool ReadManyBlocks(unsigned char* buffer, std::size_t count, std::size_t& copied);
    void ReadOneBlock();
    void HoldOutput(std::size_t size) noexcept;
    void ReplaceOutput(std::vector<unsigned char>& output) noexcept;
    std::size_t Transform(const unsigned char* blocks, std::size_t size, std::vector<unsigned char>& output);
    void TransformMore(const unsigned char* blocks, std::size_t size);
    void WriteHeldOutput();

    CryptoStreamMode m_mode;
    std::shared_ptr<CStream> m_streamOwner;
    CStream* m_stream;
    std::shared_ptr<ICryptoTransform> m_transformOwner;
    ICryptoTransform* m_transform;
    bool m_finalBlockDone = false;
    std::vector<unsigned char> m_input; ///< one block, empty once closed
    std::size_t m_inputHeld = 0;
    std::vector<unsigned char> m_output; ///< transformed bytes that have not been delivered yet
    std::size_t m_outputStart = 0;
    std::size_t m_outputHeld = 0;
    std::vector<unsigned char> m_round; ///< several blocks as input of the transform
    bool m_failed = false;
    std::exception_ptr m_transformFailure; ///< after it the transform cannot continue
};

void CCryptoStream::impl::Initialize() {
    const wchar_t* const method = L"ZelCore::Security::Cryptography::CCryptoStream::impl::Initialize";
    CheckNotNull(m_stream, L"stream", ZEL_SITE(method, 294));
    CheckNotNull(m_transform, L"transform", ZEL_SITE(method, 295));
    if (m_mode == CryptoStreamMode::Read && !Includes(m_stream->GetCapabilities(), StreamCapabilities::CanRead)) {
        throw CArgumentException(L"stream", L"Stream must be readable", ZEL_SITE(method, 301));
    }
    if (m_mode == CryptoStreamMode::Write && !Includes(m_stream->GetCapabilities(), StreamCapabilities::CanWrite)) {
        throw CArgumentException(L"stream", L"Stream must be writeable", ZEL_SITE(method, 308));
    }
    if (m_mode != CryptoStreamMode::Read && m_mode != CryptoStreamMode::Write) {
        throw CArgumentOutOfRangeException(L"mode", L"Unknown", nullptr, ZEL_SITE(method, 313));
    }
    const std::size_t block = m_transform->InputBlockSize();
    CheckAtMost(block, LargestBlock, L"transform", ZEL_SITE(method));
    m_input.resize(block);
}

void CCryptoStream::impl::Close() {
    // After missing data the message must not be completed.
    const bool finish = !std::exchange(m_finalBlockDone, true) && IsOpen() && !m_transformFailure;
    try {
        if (finish) {
            FlushFinalBlock();
        }
    } catch (...) {
        Release();
        throw;
    }
    Release();
}

void CCryptoStream::impl::Release() noexcept {
    for (std::vector<unsigned char>* bytes : {&m_input, &m_output, &m_round}) {
        Wipe(*bytes);
        bytes->clear();
    }
    m_inputHeld = m_outputHeld = 0;
}

void CCryptoStream::impl::FlushFinalBlock() {
    if (m_mode != CryptoStreamMode::Write) {
        return;
    }
    WriteHeldOutput();
    std::vector<unsigned char> last = m_transform->TransformFinalBlock(m_input.data(), m_inputHeld);
    ReplaceOutput(last);
    WriteHeldOutput();
}

std::size_t CCryptoStream::impl::TakeHeldOutput(unsigned char* buffer, std::size_t count) noexcept {
    const std::size_t size = std::min(count, m_outputHeld);
    std::copy_n(m_output.data() + m_outputStart, size, buffer);
    m_outputStart += size;
    m_outputHeld -= size;
    return size;
}

void CCryptoStream::impl::HoldOutput(std::size_t size) noexcept {
    m_outputStart = 0;
    m_outputHeld = std::min(size, m_output.size());
}

void CCryptoStream::impl::ReplaceOutput(std::vector<unsigned char>& output) noexcept {
    m_output.swap(output);
    HoldOutput(m_output.size());
    Wipe(output);
}

std::size_t CCryptoStream::impl::Read(unsigned char* buffer, std::size_t count) {
    std::size_t copied = 0;
    try {
        ReadInto(buffer, count, copied);
    } catch (...) {
        m_failed = true;
        // The caller does not know of bytes that were not counted: they are kept for the next call.
        try {
            std::vector<unsigned char> held(copied + m_outputHeld);
            std::copy_n(m_output.data() + m_outputStart, m_outputHeld, std::copy_n(buffer, copied, held.begin()));
            ReplaceOutput(held);
        } catch (const std::bad_alloc&) {
            m_transformFailure = std::current_exception(); // never continue after missing data
        }
        throw;
    }
    return copied;
}

void CCryptoStream::impl::ReadInto(unsigned char* buffer, std::size_t count, std::size_t& copied) {
    copied = TakeHeldOutput(buffer, count);
    while (copied < count && (!m_finalBlockDone || m_transformFailure)) {
        if (ReadManyBlocks(buffer, count, copied)) {
            continue;
        }
        if (copied < count) {
            ReadOneBlock();
            copied += TakeHeldOutput(buffer + copied, count - copied);
        }
    }
}

/// Reads several blocks with one call of the other stream. Returns false if that call did not return all of them: the
/// next block, or the end of the data, must then be read separately. At the end of the data the other stream is
/// therefore asked for one more block, however many are requested.
bool CCryptoStream::impl::ReadManyBlocks(unsigned char* buffer, std::size_t count, std::size_t& copied) {
    const std::size_t inputBlock = m_input.size();
    const std::size_t outputBlock = m_transform->OutputBlockSize();
    const std::size_t wanted = count - copied;
    if (m_transformFailure || outputBlock == 0 || wanted <= outputBlock || !m_transform->CanTransformMultipleBlocks()) {
        return false;
    }
    const std::size_t size =
        std::min(wanted / outputBlock, std::max<std::size_t>(LargestRound / inputBlock, 1)) * inputBlock;
    if (size <= m_inputHeld) {
        return false;
    }
    if (size > m_round.size()) {
        Wipe(m_round);
        m_round.resize(size);
    }
    std::copy_n(m_input.begin(), m_inputHeld, m_round.begin());
    const std::size_t read =
        std::min(m_stream->Read(m_round.data() + m_inputHeld, size - m_inputHeld), size - m_inputHeld);
    const std::size_t total = m_inputHeld + read;
    const std::size_t whole = total > inputBlock ? total / inputBlock * inputBlock : 0;
    if (whole != 0) {
        HoldOutput(Transform(m_round.data(), whole, m_output));
        copied += TakeHeldOutput(buffer + copied, count - copied);
    }
    m_inputHeld = total - whole;
    std::copy_n(m_round.begin() + static_cast<std::ptrdiff_t>(whole), m_inputHeld, m_input.begin());
    return m_inputHeld == 0 && total == size;
}

/// Fills the output from the next block, or from the end of the data.
void CCryptoStream::impl::ReadOneBlock() {
    if (m_transformFailure) {
        std::rethrow_exception(m_transformFailure);
    }
    while (m_inputHeld < m_input.size()) {
        const std::size_t room = m_input.size() - m_inputHeld;
        const std::size_t read = std::min(m_stream->Read(m_input.data() + m_inputHeld, room), room);
        if (read == 0) {
            m_finalBlockDone = true; // only once: a second attempt could interpret wrong data as padding
            try {
                std::vector<unsigned char> last = m_transform->TransformFinalBlock(m_input.data(), m_inputHeld);
                ReplaceOutput(last);
            } catch (...) {
                m_transformFailure = std::current_exception();
                throw;
            }
            return;
        }
        m_inputHeld += read;
    }
    HoldOutput(Transform(m_input.data(), m_inputHeld, m_output));
    m_inputHeld = 0;
}

std::size_t CCryptoStream::impl::Transform(const unsigned char* blocks, std::size_t size,
                                           std::vector<unsigned char>& output) {
    Wipe(output);
    try {
        return m_transform->TransformBlock(blocks, size, output);
    } catch (...) {
        m_transformFailure = std::current_exception();
        throw;
    }
}

/// Transforms blocks and appends the result to the output that the other stream has not taken yet.
void CCryptoStream::impl::TransformMore(const unsigned char* blocks, std::size_t size) {
    if (m_outputHeld == 0) {
        HoldOutput(Transform(blocks, size, m_output));
        return;
    }
    struct Wiped {
        std::vector<unsigned char> bytes;
        ~Wiped() {
            Wipe(bytes);
        }
    } more, larger;
    const std::size_t produced = Transform(blocks, size, more.bytes);
    const std::size_t added = std::min(produced, more.bytes.size());
    const std::size_t total = m_outputHeld + added;
    try {
        if (total > m_output.capacity()) {
            larger.bytes.reserve(2 * total);
            larger.bytes.assign(m_output.begin(), m_output.begin() + static_cast<std::ptrdiff_t>(m_outputHeld));
            m_output.swap(larger.bytes);
        }
        m_output.resize(m_outputHeld);
        m_output.insert(m_output.end(), more.bytes.begin(), more.bytes.begin() + static_cast<std::ptrdiff_t>(added));
        m_outputHeld = total;
    } catch (const std::bad_alloc&) {
        m_transformFailure = std::current_exception(); // never continue after missing data
        throw;
    }
}

void CCryptoStream::impl::Write(const unsigned char* buffer, std::size_t count) {
    if (m_transformFailure) {
        std::rethrow_exception(m_transformFailure);
    }
    // If the other stream fails, all data is transformed nevertheless, so that the caller can continue.
    std::exception_ptr failure;
    const auto deliver = [&] {
        try {
            if (!failure) {
                WriteHeldOutput();
            }
        } catch (...) {
            failure = std::current_exception();
        }
    };
    const std::size_t block = m_input.size();
    try {
        deliver();
        if (m_inputHeld != 0) {
            const std::size_t added = std::min(count, block - m_inputHeld);
            std::copy_n(buffer, added, m_input.begin() + static_cast<std::ptrdiff_t>(m_inputHeld));
            m_inputHeld += added;
            buffer += added;
            count -= added;
            if (m_inputHeld == block) {
                TransformMore(m_input.data(), block);
                m_inputHeld = 0;
                deliver();
            }
        }
        const std::size_t round =
            m_transform->CanTransformMultipleBlocks() ? std::max<std::size_t>(LargestRound / block, 1) * block : block;
        while (count >= block) {
            const std::size_t size = std::min(count / block * block, round);
            TransformMore(buffer, size);
            deliver();
            buffer += size;
            count -= size;
        }
        if (count != 0) {
            std::copy_n(buffer, count, m_input.begin());
            m_inputHeld = count;
        }
        if (failure) {
            std::rethrow_exception(failure);
        }
    } catch (...) {
        m_failed = true;
        throw;
    }
}

void CCryptoStream::impl::WriteHeldOutput() {
    if (m_outputHeld != 0) {
        m_stream->Write(m_output.data(), m_outputHeld);
        m_outputHeld = 0;
    }
}

CCryptoStream::CCryptoStream(CStream& stream, ICryptoTransform& transform, CryptoStreamMode mode)
    : m_impl(std::make_unique<impl>(mode, nullptr, &stream, nullptr, &transform)) {}

CCryptoStream::CCryptoStream(const std::shared_ptr<CStream>& stream, const std::shared_ptr<ICryptoTransform>& transform,
                             CryptoStreamMode mode)
    : m_impl(std::make_unique<impl>(mode, stream, stream.get(), transform, transform.get())) {}

CCryptoStream::CCryptoStream(CCryptoStream&& other) noexcept : m_impl(std::move(other.m_impl)) {}

CCryptoStream& CCryptoStream::operator=(CCryptoStream&& other) noexcept {
    if (this != &other) {
        m_impl = std::move(other.m_impl);
    }
    return *this;
}

CCryptoStream::~CCryptoStream() noexcept = default;

bool CCryptoStream::IsOpen() const noexcept {
    return m_impl && m_impl->IsOpen();
}

void CCryptoStream::Close() {
    if (m_impl) {
        m_impl->Close();
    }
}

void CCryptoStream::Flush() {
    if (!IsOpen()) {
        throw CInvalidOperationException(GetMessageText(Message::InvalidHandle),
                                         ZEL_SITE(L"ZelCore::Security::Cryptography::CCryptoStream::Flush", 351));
    }
}

StreamCapabilities CCryptoStream::GetCapabilities() const {
    if (!IsOpen()) {
        return StreamCapabilities::None;
    }
    return m_impl->GetMode() == CryptoStreamMode::Write ? StreamCapabilities::CanWrite : StreamCapabilities::CanRead;
}

std::int64_t CCryptoStream::GetLength() const {
    throw CNotSupportedException(nullptr, ZEL_SITE(L"ZelCore::Security::Cryptography::CCryptoStream::GetLength", 369));
}

std::int64_t CCryptoStream::GetPosition() const {
    throw CNotSupportedException(nullptr,
                                 ZEL_SITE(L"ZelCore::Security::Cryptography::CCryptoStream::GetPosition", 375));
}

std::size_t CCryptoStream::Read(unsigned char* buffer, std::size_t count) {
    const wchar_t* const method = L"ZelCore::Security::Cryptography::CCryptoStream::Read";
    if (!IsOpen()) {
        throw CInvalidOperationException(GetMessageText(Message::InvalidHandle), ZEL_SITE(method, 382));
    }
    if (m_impl->GetMode() != CryptoStreamMode::Read) {
        throw CInvalidOperationException(L"Cannot read from the stream", ZEL_SITE(method, 386));
    }
    if (count == 0) {
        return 0;
    }
    CheckNotNull(buffer, L"buffer", ZEL_SITE(method));
    return m_impl->Read(buffer, count);
}

std::int64_t CCryptoStream::Seek(std::int64_t, SeekOrigin) {
    throw CNotSupportedException(nullptr, ZEL_SITE(L"ZelCore::Security::Cryptography::CCryptoStream::Seek", 397));
}

void CCryptoStream::Write(const unsigned char* buffer, std::size_t count) {
    const wchar_t* const method = L"ZelCore::Security::Cryptography::CCryptoStream::Write";
    if (!IsOpen()) {
        throw CInvalidOperationException(GetMessageText(Message::InvalidHandle), ZEL_SITE(method, 404));
    }
    if (m_impl->GetMode() != CryptoStreamMode::Write) {
        throw CInvalidOperationException(L"Cannot write to the stream", ZEL_SITE(method, 408));
    }
    if (count != 0) {
        CheckNotNull(buffer, L"buffer", ZEL_SITE(method));
        m_impl->Write(buffer, count);
    }
}

} // namespace ZelCore::Security::Cryptography
