#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace Zel {

/// Maps a file of any size for reading, without allocating memory for its contents. Throws CWin32Exception.
class MappedFile {
public:
    explicit MappedFile(const std::wstring& path);

    const unsigned char* GetData() const {
        return m_view.get();
    }
    std::size_t GetSize() const {
        return m_size;
    }

private:
    std::size_t m_size = 0;
    std::shared_ptr<const unsigned char> m_view; // null for an empty file
};

} // namespace Zel
