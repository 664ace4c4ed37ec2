// What the tool says: results on standard output, remarks and a progress bar on standard error.
#ifndef ORV_EXAMPLES_CONSOLE_H
#define ORV_EXAMPLES_CONSOLE_H

#include <chrono>
#include <cstdint>
#include <string>

namespace orvtool {

class Console {
public:
    // `all` frames are expected, 0 if unknown; the bar is for terminals and more than one frame. Results go to standard
    // error where `pictures` go to standard output.
    Console(int64_t all, bool pictures);
    ~Console() { Clear(); }
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    void Result(const std::string& line) const;
    void Remark(const std::string& line) const;
    void Progress(int64_t done) const;

private:
    void Clear() const;

    int64_t all_;
    bool pictures_;
    bool bar_;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

// printf to a string.
std::string Format(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace orvtool

#endif
