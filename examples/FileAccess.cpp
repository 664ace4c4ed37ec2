#include "FileAccess.h"

#include <strings.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace orvtool {

void FailFile(const std::string& path, const std::string& what) {
    throw std::runtime_error((path == "-" ? "standard input" : path) + ": " + what);
}

File OpenToRead(const std::string& path) {
    if (path == "-") {
        return File(stdin, [](std::FILE*) { return 0; });
    }
    File file(std::fopen(path.c_str(), "rb"), std::fclose);
    struct stat status = {};
    if (file == nullptr || fstat(fileno(file.get()), &status) != 0) {
        FailFile(path, std::strerror(errno));
    }
    if (!S_ISREG(status.st_mode) && !S_ISFIFO(status.st_mode)) {
        FailFile(path, "neither a regular file nor a pipe");
    }
    return file;
}

void CheckSize(const std::string& path, int64_t width, int64_t height) {
    constexpr int kMaxSide = 65500;
    constexpr int64_t kMaxPixels = int64_t{1} << 28;
    if (width < 1 || height < 1 || width > kMaxSide || height > kMaxSide || width * height > kMaxPixels) {
        FailFile(path, "a size of " + std::to_string(width) + "x" + std::to_string(height) + " is not supported");
    }
}

bool HasExtension(const std::string& path, const char* extension) {
    const size_t length = std::strlen(extension);
    return path.size() > length && strcasecmp(path.c_str() + path.size() - length, extension) == 0;
}

}  // namespace orvtool
