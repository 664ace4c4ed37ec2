// Pictures side by side, each whole and in part.
#ifndef ORV_EXAMPLES_SHEET_H
#define ORV_EXAMPLES_SHEET_H

#include <opencv2/core.hpp>
#include <string>
#include <vector>

namespace orvtool {

struct SheetColumn {
    std::string label;
    cv::Mat picture;  // CV_8UC3; all columns have one size
};

// Rows of columns of `columnWidth` pixels, each with label, reduced picture and enlarged `crop`.
cv::Mat MakeSheet(const std::vector<std::vector<SheetColumn>>& rows, cv::Rect crop, int columnWidth);

}  // namespace orvtool

#endif
