#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace support {

/// A folder for the files of one test, gone with the object.
class TemporaryFolder {
public:
    TemporaryFolder() : path_((std::filesystem::temp_directory_path() / "vexo_test_XXXXXX").string()) {
        if (!mkdtemp(path_.data())) throw std::runtime_error("no temporary folder");
    }
    ~TemporaryFolder() { std::filesystem::remove_all(path_); }
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;

    const std::string &path() const { return path_; }
    std::string operator/(const std::string &name) const { return path_ + "/" + name; }
    /// Its path.
    std::string write(const std::string &name, const std::string &content) const {
        std::ofstream(*this / name, std::ios::binary) << content;
        return *this / name;
    }
    std::string read(const std::string &name) const {
        std::ifstream file(*this / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    std::string path_;
};

}  // namespace support
