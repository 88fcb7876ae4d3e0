// A folder that goes away with the test.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "zevo-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr)
            std::abort();
        path_ = name;
    }
    ~TemporaryFolder() { std::filesystem::remove_all(path_); }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string Path() const { return path_.string(); }
    std::string Path(const std::string& name) const { return (path_ / name).string(); }
    void Write(const std::string& name, const std::string& content) const
    {
        std::ofstream(path_ / name, std::ios::binary) << content;
    }

private:
    std::filesystem::path path_;
};
