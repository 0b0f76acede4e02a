#include "ZelCore/IO/Stream.h"

#include "ZelCore/Arguments.h"
#include "ZelCore/InvalidOperationException.h"
#include "ZelCore/NotSupportedException.h"

#include <algorithm>

namespace ZelCore::IO {

CStream::~CStream() = default;

const IAsyncResult* CStream::BeginRead(unsigned char*, std::size_t, CAsyncCallback*, void*) {
    throw CNotSupportedException(nullptr, ZEL_SITE(L"ZelCore::IO::CStream::BeginRead"));
}

const IAsyncResult* CStream::BeginWrite(const unsigned char*, std::size_t, CAsyncCallback*, void*) {
    throw CNotSupportedException(nullptr, ZEL_SITE(L"ZelCore::IO::CStream::BeginWrite"));
}

std::size_t CStream::EndRead(const IAsyncResult*) {
    throw CNotSupportedException(nullptr, ZEL_SITE(L"ZelCore::IO::CStream::EndRead"));
}

void CStream::EndWrite(const IAsyncResult*) {
    throw CNotSupportedException(nullptr, ZEL_SITE(L"ZelCore::IO::CStream::EndWrite"));
}

const wchar_t* CStream::GetName() const {
    return L"";
}

int CStream::GetReadTimeout() const {
    throw CInvalidOperationException(nullptr, ZEL_SITE(L"ZelCore::IO::CStream::GetReadTimeout"));
}

int CStream::GetWriteTimeout() const {
    throw CInvalidOperationException(nullptr, ZEL_SITE(L"ZelCore::IO::CStream::GetWriteTimeout"));
}

void CStream::SetReadTimeout(int) {
    throw CInvalidOperationException(nullptr, ZEL_SITE(L"ZelCore::IO::CStream::SetReadTimeout"));
}

void CStream::SetWriteTimeout(int) {
    throw CInvalidOperationException(nullptr, ZEL_SITE(L"ZelCore::IO::CStream::SetWriteTimeout"));
}

std::size_t CStream::GreedyRead(unsigned char* buffer, std::size_t count) {
    CheckNotNull(buffer, L"buffer", ZEL_SITE(L"ZelCore::IO::CStream::GreedyRead"));
    std::size_t total = 0;
    for (;;) {
        const std::size_t remaining = count - total;
        const std::size_t read = std::min(Read(buffer + total, remaining), remaining);
        total += read;
        if (read == 0 || total == count) {
            return total;
        }
    }
}

} // namespace ZelCore::IO
