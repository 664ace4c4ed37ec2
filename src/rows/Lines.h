// Rows of a plane, or a ring of the last few of them, behind one index: row functions cannot tell which.
#ifndef ORV_ROWS_LINES_H
#define ORV_ROWS_LINES_H

#include <algorithm>
#include <cassert>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace orv {

template <class T>
struct Lines {
    T* base = nullptr;
    ptrdiff_t stride = 0;  // elements
    int mask = -1;         // all bits for a plane, 2^k - 1 for a ring of 2^k rows
#ifndef NDEBUG
    int* holds = nullptr;  // the rows that a ring holds, by place; null for a plane
#endif

    // A row that has been made and that its ring still holds.
    T* operator[](int y) const {
        assert((holds == nullptr || holds[y & mask] == y) && "the ring no longer holds this row, or never did");
        return base + (y & mask) * stride;
    }
    // The place of a row that is about to be made.
    T* Make(int y) const {
#ifndef NDEBUG
        if (holds != nullptr) {
            holds[y & mask] = y;
        }
#endif
        return base + (y & mask) * stride;
    }
};

// Cuts lines out of a block of memory, each aligned to a cache line and with a spare cache line on either side. Made on
// null, it counts the bytes that the same cuts take.
class LineCutter {
public:
    explicit LineCutter(void* memory) : start_(static_cast<unsigned char*>(memory)) {}

    template <class T>
    Lines<T> Ring(int rows, ptrdiff_t n) {
        Lines<T> lines = Plane<T>(rows, n);
        lines.mask = rows - 1;
#ifndef NDEBUG
        lines.holds = Line<int>(rows);
        if (lines.holds != nullptr) {
            std::fill(lines.holds, lines.holds + rows, INT_MIN);
        }
#endif
        return lines;
    }
    template <class T>
    Lines<T> Plane(int rows, ptrdiff_t n) {
        Lines<T> lines;
        lines.stride =
            (n * static_cast<ptrdiff_t>(sizeof(T)) + 3 * kLine - 1) / kLine * kLine / static_cast<ptrdiff_t>(sizeof(T));
        if (start_ != nullptr) {
            lines.base = reinterpret_cast<T*>(start_ + bytes_ + kLine);
            // Row functions take neighbours from there for values that are replaced after. Sums of what an earlier
            // frame has left there must not overflow, as those of 32 bits might.
            if constexpr (std::is_same_v<T, int32_t>) {
                constexpr ptrdiff_t kSpare = kLine / static_cast<ptrdiff_t>(sizeof(T));
                for (int y = 0; y < rows; ++y) {
                    T* const row = lines.base + y * lines.stride;
                    std::fill(row - kSpare, row, 0);
                    std::fill(row + n, row + lines.stride - kSpare, 0);
                }
            }
        }
        bytes_ += rows * lines.stride * static_cast<ptrdiff_t>(sizeof(T));
        return lines;
    }
    template <class T>
    T* Line(ptrdiff_t n) {
        return Plane<T>(1, n).base;
    }
    size_t Bytes() const { return static_cast<size_t>(bytes_); }

private:
    static constexpr ptrdiff_t kLine = 64;
    unsigned char* start_;
    ptrdiff_t bytes_ = 0;
};

}  // namespace orv

#endif
