#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace Zel {

/// A file of any size as memory to read, which takes no memory of the process. Throws CWin32Exception.
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
