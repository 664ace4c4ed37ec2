// What reading and writing files has in common. Every failure is a std::runtime_error whose text names the file; "-" is
// standard input or output.
#ifndef ORV_EXAMPLES_FILE_ACCESS_H
#define ORV_EXAMPLES_FILE_ACCESS_H

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

namespace orvtool {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

[[noreturn]] void FailFile(const std::string& path, const std::string& what);

// Opens a regular file or a pipe for reading.
File OpenToRead(const std::string& path);

// Sizes that the tool takes, tested before memory is asked for: the bytes of a 16-bit colour result must fit the signed
// 32 bits of a record's imageSize.
void CheckSize(const std::string& path, int64_t width, int64_t height);

bool HasExtension(const std::string& path, const char* extension);

}  // namespace orvtool

#endif
