// Storage of the adaptive Bayer engines.
#ifndef ORV_BAYER_SPLITPLANE_H
#define ORV_BAYER_SPLITPLANE_H

#include <cstddef>
#include <cstdint>
#include <limits>

#include "rows/AlignedBuffer.h"

namespace orv {

// Row functions work from element 0 in steps of this many elements, into the padding of the rows, so that they are
// aligned and need no remainder loop. What they leave there is never used.
constexpr int kLanes = 32;
inline int RoundUpToLanes(int n) { return (n + kLanes - 1) / kLanes * kLanes; }

// Rows of one length, 64-byte aligned and with at least 64 bytes of padding before and after, zero when new.
template <class T>
class RowArray {
public:
    // Keeps rows that have this size already. False, and no rows, when memory ran out.
    bool Create(int rows, int columns) {
        if (rows == rows_ && columns == columns_) {
            return true;
        }
        rows_ = 0;
        buffer_ = AlignedBuffer();
        constexpr int kLine = 64 / static_cast<int>(sizeof(T));
        if (columns > std::numeric_limits<int>::max() - 2 * (kLanes + kLine)) {
            return false;
        }
        // An odd number of lines, so that the same column of many rows fits in the cache.
        const int lines = (RoundUpToLanes(columns) + kLine - 1) / kLine + 1;
        const int step = (lines | 1) * kLine;
        if (!buffer_.Reserve((static_cast<size_t>(rows) + 1) * static_cast<size_t>(step) * sizeof(T))) {
            return false;
        }
        data_ = static_cast<T*>(buffer_.Data()) + kLine;
        step_ = step;
        rows_ = rows;
        columns_ = columns;
        return true;
    }
    T* operator[](int r) { return data_ + static_cast<ptrdiff_t>(r) * step_; }
    const T* operator[](int r) const { return data_ + static_cast<ptrdiff_t>(r) * step_; }

private:
    AlignedBuffer buffer_;
    int rows_ = 0;
    int columns_ = 0;
    T* data_ = nullptr;
    ptrdiff_t step_ = 0;
};

// A plane as its two checkerboard halves: pixel (r, c) stands in half (r + c) & 1, row r, at index c / 2. So the sites
// of one colour are neighbours in memory, and all four direct neighbours of a site are in the other half.
template <class T>
class SplitPlane {
public:
    bool Create(int rows, int columns) {
        return half_[0].Create(rows, columns / 2) && half_[1].Create(rows, columns / 2);
    }
    T* Row(int q, int r) { return half_[q][r]; }
    const T* Row(int q, int r) const { return half_[q][r]; }

private:
    RowArray<T> half_[2];
};

// The last rows of a SplitPlane: row r takes the place of row r - rows.
template <class T, int rows>
class SplitRing {
public:
    bool Create(int columns) { return rows_.Create(rows, columns); }
    T* Row(int q, int r) { return rows_.Row(q, r % rows); }
    const T* Row(int q, int r) const { return rows_.Row(q, r % rows); }
    T& At(int r, int c) { return Row((r + c) & 1, r)[c >> 1]; }

private:
    SplitPlane<T> rows_;
};

}  // namespace orv

#endif
