#pragma once

#include <gtest/gtest.h>

#include <windows.h>

#include <shellapi.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace ZelTest {

/// The base of tests with files: an empty folder, which is also the temporary folder of the library. A file left in the
/// temporary folder, or a handle that keeps a file open, fails the test.
class FolderTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_outside = std::filesystem::temp_directory_path();
        m_folder = m_outside / (L"zel" + std::to_wstring(::GetCurrentProcessId()));
        std::filesystem::remove_all(m_folder); // left by a killed process with the same process identifier
        std::filesystem::create_directories(m_folder / L"tmp");
        ::SetEnvironmentVariableW(L"TMP", (m_folder / L"tmp").c_str());
    }
    void TearDown() override {
        EXPECT_TRUE(std::filesystem::is_empty(m_folder / L"tmp")) << "something is left in the temporary folder";
        ::SetEnvironmentVariableW(L"TMP", m_outside.c_str());
        std::error_code error;
        std::filesystem::remove_all(m_folder, error);
        EXPECT_FALSE(std::filesystem::exists(m_folder)) << "a file is still open";
    }

    std::wstring At(const std::wstring& name) const {
        return (m_folder / name).wstring();
    }
    void EmptyTemporaryFolder() const {
        std::filesystem::remove_all(m_folder / L"tmp");
        std::filesystem::create_directories(m_folder / L"tmp");
    }
    bool IsTemporaryFolderEmpty() const {
        return std::filesystem::is_empty(m_folder / L"tmp");
    }
    std::string Put(const std::wstring& name, const std::string& bytes) const {
        std::ofstream(m_folder / name, std::ios::binary) << bytes;
        return bytes;
    }
    std::string Get(const std::wstring& name) const {
        std::ifstream file(m_folder / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    std::filesystem::path m_outside;
    std::filesystem::path m_folder;
};

} // namespace ZelTest
