#include "Console.h"

#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace orvtool {

Console::Console(int64_t all, bool pictures)
    : all_(all), pictures_(pictures), bar_(all != 1 && isatty(STDERR_FILENO) != 0) {}

void Console::Clear() const {
    if (bar_) {
        std::fputs("\r\033[K", stderr);
    }
}

void Console::Result(const std::string& line) const {
    Clear();
    std::fprintf(pictures_ ? stderr : stdout, "%s\n", line.c_str());
}

void Console::Remark(const std::string& line) const {
    Clear();
    std::fflush(stdout);
    std::fprintf(stderr, "orv-convert: %s\n", line.c_str());
}

void Console::Progress(int64_t done) const {
    if (!bar_) {
        return;
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
    const double rate = seconds > 0 ? static_cast<double>(done) / seconds : 0;
    if (all_ > 0) {
        constexpr int64_t kWidth = 40;
        const auto filled = static_cast<size_t>(std::min(kWidth, kWidth * done / all_));
        std::fprintf(stderr, "\r[%s%s] %lld of %lld, %.1f frames/s", std::string(filled, '#').c_str(),
                     std::string(kWidth - filled, ' ').c_str(), static_cast<long long>(done),
                     static_cast<long long>(all_), rate);
    } else {
        std::fprintf(stderr, "\r%lld frames, %.1f frames/s", static_cast<long long>(done), rate);
    }
}

std::string Format(const char* format, ...) {
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    return text;
}

}  // namespace orvtool
