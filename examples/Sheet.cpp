#include "Sheet.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

namespace orvtool {

cv::Mat MakeSheet(const std::vector<std::vector<SheetColumn>>& rows, cv::Rect crop, int columnWidth) {
    constexpr int kLabel = 28;
    constexpr int kGap = 8;
    const cv::Size size = rows.front().front().picture.size();
    crop &= cv::Rect(cv::Point(), size);
    const auto scaledHeight = [columnWidth](const cv::Size& from) {
        return std::max(1, static_cast<int>(std::lround(static_cast<double>(columnWidth) * from.height / from.width)));
    };
    const int height = scaledHeight(size);
    const int cropHeight = scaledHeight(crop.size());
    const int rowHeight = kLabel + height + kGap + cropHeight;
    size_t widest = 0;
    for (const std::vector<SheetColumn>& row : rows) {
        widest = std::max(widest, row.size());
    }
    cv::Mat sheet(static_cast<int>(rows.size()) * rowHeight, static_cast<int>(widest) * (columnWidth + kGap) - kGap,
                  CV_8UC3, cv::Scalar::all(40));
    for (size_t r = 0; r < rows.size(); ++r) {
        for (size_t i = 0; i < rows[r].size(); ++i) {
            const SheetColumn& column = rows[r][i];
            const int x = static_cast<int>(i) * (columnWidth + kGap);
            const int y = static_cast<int>(r) * rowHeight;
            cv::putText(sheet, column.label, {x + 4, y + kLabel - 9}, cv::FONT_HERSHEY_SIMPLEX,
                        columnWidth < 300 ? 0.35 : 0.5, cv::Scalar::all(255), 1, cv::LINE_AA);
            cv::Mat reduced = sheet(cv::Rect(x, y + kLabel, columnWidth, height));
            cv::resize(column.picture, reduced, reduced.size(), 0, 0,
                       size.width > columnWidth ? cv::INTER_AREA : cv::INTER_NEAREST);
            cv::Mat enlarged = sheet(cv::Rect(x, y + kLabel + height + kGap, columnWidth, cropHeight));
            cv::resize(column.picture(crop), enlarged, enlarged.size(), 0, 0, cv::INTER_NEAREST);
        }
    }
    return sheet;
}

}  // namespace orvtool
