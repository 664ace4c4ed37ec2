// Pictures to files and to standard output.
#ifndef ORV_EXAMPLES_WRITE_PICTURE_H
#define ORV_EXAMPLES_WRITE_PICTURE_H

#include <opencv2/core.hpp>
#include <string>

namespace orvtool {

// Throws a std::runtime_error that starts with `option` unless `path` can be written: PNG, TIFF, and PPM for colour or
// PGM for one channel by its extension, in a folder that takes files; or "-".
void CheckWritable(const std::string& option, const std::string& path, bool colour = true);

// Writes CV_8U or CV_16U with one channel or three, blue first. The file gets a temporary name beside `path` first and
// is then renamed, so `path` never holds half a picture. "-" is standard output, as PPM. Throws std::runtime_error.
void WritePicture(const std::string& path, const cv::Mat& picture);

}  // namespace orvtool

#endif
