#include "WritePicture.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <opencv2/imgcodecs.hpp>
#include <stdexcept>

#include "FileAccess.h"

namespace orvtool {

namespace {

[[noreturn]] void FailErrno(const std::string& path, int error) {
    throw std::runtime_error(path + ": " + std::strerror(error));
}

}  // namespace

void CheckWritable(const std::string& option, const std::string& path, bool colour) {
    namespace fs = std::filesystem;
    if (path == "-") {
        return;
    }
    const char* const plain = colour ? ".ppm" : ".pgm";
    if (!HasExtension(path, ".png") && !HasExtension(path, ".tif") && !HasExtension(path, ".tiff") &&
        !HasExtension(path, plain)) {
        throw std::runtime_error(option + ": '" + path + "' must end in .png, .tif or " + plain);
    }
    const fs::path folder = fs::path(path).has_parent_path() ? fs::path(path).parent_path() : fs::path(".");
    if (fs::is_directory(path)) {
        FailErrno(option + ": " + path, EISDIR);
    }
    if (access(folder.c_str(), W_OK | X_OK) != 0) {
        FailErrno(option + ": " + path, errno);
    }
}

void WritePicture(const std::string& path, const cv::Mat& picture) {
    const std::string extension =
        path == "-" ? (picture.channels() == 1 ? ".pgm" : ".ppm") : std::filesystem::path(path).extension().string();
    std::vector<uint8_t> bytes;
    if (!cv::imencode(extension, picture, bytes, {cv::IMWRITE_PNG_COMPRESSION, 3})) {
        throw std::runtime_error(path + ": could not be encoded");
    }
    if (path == "-") {
        if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) != bytes.size() || std::fflush(stdout) != 0) {
            FailErrno("standard output", errno);
        }
        return;
    }
    const std::string temporary = path + ".part" + std::to_string(getpid());
    std::FILE* file = std::fopen(temporary.c_str(), "wbx");
    if (file == nullptr) {
        FailErrno(path, errno);
    }
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    const bool closed = std::fclose(file) == 0;
    if (!written || !closed || std::rename(temporary.c_str(), path.c_str()) != 0) {
        const int error = errno;
        std::remove(temporary.c_str());
        FailErrno(path, error);
    }
}

}  // namespace orvtool
