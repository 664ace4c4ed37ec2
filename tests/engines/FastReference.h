// The fast engine site by site on whole planes, one formula per kind of site, for comparison.
#ifndef ORV_TESTS_FASTREFERENCE_H
#define ORV_TESTS_FASTREFERENCE_H

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "OrvTrueSense.h"

namespace orvtest {

// One conversion: what Init and SetOutputPixelType are told. Strides in samples.
struct FastCall {
    _OrvRect rect = {};
    int srcStride = 0, dstStride = 0;
    int bits = 8;
    unsigned char grid = 0;
    bool alpha = false, bgr = false;
    bool toBytes = false;  // results of the 8-bit output of 16-bit sources
};

// Writes through `put(offset, value)`, reads through `get(offset)`; offsets in samples. `param.toneTable` must be set.
class FastReference {
public:
    FastReference(const FastCall& call, const tagTrueSenseParam& param) : call_(call), param_(param) {}

    template <class Get, class Put>
    void Run(const Get& get, const Put& put) {
        Read(get);
        StagePan();
        StageSeeds();
        StageGreenSites(blue_);
        StageGreenSites(red_);
        StagePanSites(green_);
        StagePanSites(blue_);
        StagePanSites(red_);
        Write(put);
    }

private:
    struct Plane {
        int W = 0;
        std::vector<int16_t> samples;
        int operator()(int r, int c) const { return samples.at(static_cast<size_t>(r) * W + c); }
        void Set(int r, int c, int v) { samples.at(static_cast<size_t>(r) * W + c) = static_cast<int16_t>(v); }
    };

    void Walk(int w, int h, int stride, int channels, int xr, int yr, long& row, long& column) const {
        column = static_cast<long>(param_.horMirrored ? w - 1 - xr : xr) * channels;
        row = static_cast<long>(param_.verMirrored ? h - 1 - yr : yr) * stride;
    }

    template <class Get>
    void Read(const Get& get) {
        const _OrvRect& rect = call_.rect;
        gridX_ = call_.grid % 4;
        gridY_ = call_.grid / 4;
        W_ = (rect.width + gridX_ + 3) / 4 * 4;
        H_ = (rect.height + gridY_ + 3) / 4 * 4;
        pan_.W = W_;
        pan_.samples.assign(static_cast<size_t>(W_) * H_, 0);
        const int endX = gridX_ + rect.width;
        const int endY = gridY_ + rect.height;
        for (int y = 0; y < rect.height; ++y) {
            for (int x = 0; x < rect.width; ++x) {
                long row = 0;
                long column = 0;
                Walk(rect.width, rect.height, call_.srcStride, 1, x, y, row, column);
                long offset = row + column + static_cast<long>(rect.y) * call_.srcStride + rect.x;
                if (call_.srcStride < 0) {
                    offset = -offset;
                }
                const unsigned v = get(offset);
                const unsigned scaled = call_.bits == 8    ? v << 4
                                        : call_.bits == 10 ? v << 2
                                        : call_.bits == 12 ? v
                                        : call_.bits == 14 ? v >> 2
                                                           : v >> 4;
                pan_.Set(gridY_ + y, gridX_ + x, static_cast<int>(scaled));
            }
        }
        const auto at = [this](int r, int c) { return r < 0 || c < 0 || r >= H_ || c >= W_ ? 0 : pan_(r, c); };
        for (int r = gridY_ - 1; r >= 0; --r) {
            for (int c = gridX_; c < endX; ++c) pan_.Set(r, c, at(r + 4, c));
        }
        for (int r = endY; r < H_; ++r) {
            for (int c = gridX_; c < endX; ++c) pan_.Set(r, c, at(r - 4, c));
        }
        for (int c = gridX_ - 1; c >= 0; --c) {
            for (int r = 0; r < H_; ++r) pan_.Set(r, c, at(r, c + 4));
        }
        for (int c = endX; c < W_; ++c) {
            for (int r = 0; r < H_; ++r) pan_.Set(r, c, at(r, c - 4));
        }
        green_ = red_ = blue_ = pan_;
    }

    // The mean of `X` round a site on the rim of the plane.
    int RimMean(const Plane& X, int r, int c) const {
        const bool top = r == 0, bottom = r == H_ - 1, first = c == 0, last = c == W_ - 1;
        if ((top || bottom) && (first || last)) {
            return (X(r, first ? 1 : c - 1) + X(top ? 1 : r - 1, c)) >> 1;
        }
        if (top || bottom) {
            return (X(r, c - 1) + 2 * X(top ? 1 : r - 1, c) + X(r, c + 1)) >> 2;
        }
        return (X(r - 1, c) + 2 * X(r, first ? 1 : c - 1) + X(r + 1, c)) >> 2;
    }
    bool Rim(int r, int c) const { return r == 0 || c == 0 || r == H_ - 1 || c == W_ - 1; }
    bool Across(int r, int c) const {
        return std::abs(pan_(r, c + 1) - pan_(r, c - 1)) < std::abs(pan_(r + 1, c) - pan_(r - 1, c));
    }

    void StagePan() {
        const Plane P = pan_;
        for (int r = 0; r < H_; ++r) {
            for (int c = (r + 1) % 2; c < W_; c += 2) {
                if (Rim(r, c)) {
                    pan_.Set(r, c, RimMean(P, r, c));
                } else if (std::abs(P(r, c + 1) - P(r, c - 1)) < std::abs(P(r + 1, c) - P(r - 1, c))) {
                    pan_.Set(r, c, (P(r, c - 1) + P(r, c + 1)) >> 1);
                } else {
                    pan_.Set(r, c, (P(r - 1, c) + P(r + 1, c)) >> 1);
                }
            }
        }
    }

    // Colour letter of the cell.
    static char Letter(int r, int c) {
        static const char* const kCell[4] = {"PBPG", "BPGP", "PGPR", "GPRP"};
        return kCell[r % 4][c % 4];
    }

    void StageSeeds() {
        const Plane G = green_;
        const auto D = [this, &G](int r, int c) { return pan_(r, c) - G(r, c); };
        const int H = H_, W = W_;
        for (int r = 0; r < H; ++r) {
            for (int c = 0; c < W; ++c) {
                const char letter = Letter(r, c);
                if (letter != 'R' && letter != 'B') {
                    continue;
                }
                int sum = 0;
                if (r == 0 && c == 1) {
                    sum = D(2, 1) + D(0, 3) + 2 * D(1, 2);
                } else if (r == 1 && c == 0) {
                    sum = D(1, 2) + D(3, 0) + 2 * D(2, 1);
                } else if (r == H - 2 && c == W - 1) {
                    sum = D(H - 2, W - 3) + D(H - 4, W - 1) + 2 * D(H - 3, W - 2);
                } else if (r == H - 1 && c == W - 2) {
                    sum = D(H - 1, W - 4) + D(H - 3, W - 2) + 2 * D(H - 2, W - 3);
                } else if (r < 2) {
                    sum = D(r, c - 2) + D(r, c + 2) + 2 * D(r + 2, c);
                } else if (r >= H - 2) {
                    sum = D(r, c - 2) + D(r, c + 2) + 2 * D(r - 2, c);
                } else if (c < 2) {
                    sum = D(r - 2, c) + D(r + 2, c) + 2 * D(r, c + 2);
                } else if (c >= W - 2) {
                    sum = D(r - 2, c) + D(r + 2, c) + 2 * D(r, c - 2);
                } else {
                    sum = D(r - 2, c) + D(r + 2, c) + D(r, c - 2) + D(r, c + 2);
                }
                green_.Set(r, c, pan_(r, c) - (sum >> 2));
                SeedOther(letter == 'R' ? blue_ : red_, r, c);
            }
        }
    }

    // Blue at red sites, red at blue sites.
    void SeedOther(Plane& X, int r, int c) {
        const auto D = [this, &X](int y, int x) { return pan_(y, x) - X(y, x); };
        int mean = 0;
        const bool up = r >= 2, down = r < H_ - 2, left = c >= 2, right = c < W_ - 2;
        if (up && down && left && right) {
            mean = (D(r - 2, c - 2) + D(r - 2, c + 2) + D(r + 2, c - 2) + D(r + 2, c + 2)) >> 2;
        } else if (!down && !right) {
            mean = D(r - 2, c - 2) >> 1;
        } else if (!up && !left) {
            mean = D(r + 2, c + 2) >> 1;
        } else if (!down || !up) {
            const int y = down ? r + 2 : r - 2;
            mean = (D(y, c - 2) + D(y, c + 2)) >> 1;
        } else {
            const int x = right ? c + 2 : c - 2;
            mean = (D(r - 2, x) + D(r + 2, x)) >> 1;
        }
        X.Set(r, c, pan_(r, c) - mean);
    }

    // Red or blue at green sites.
    void StageGreenSites(Plane& X) {
        const Plane before = X;
        const auto D = [this, &before](int r, int c) { return pan_(r, c) - before(r, c); };
        const int H = H_, W = W_;
        for (int r = 0; r < H; ++r) {
            for (int c = 0; c < W; ++c) {
                if (Letter(r, c) != 'G') {
                    continue;
                }
                int mean = 0;
                if ((r == 0 && c == W - 1) || (r == 1 && c == W - 2)) {
                    mean = (D(0, W - 3) + D(2, W - 1)) >> 1;
                } else if (r == H - 2 && c == 1) {
                    mean = (D(H - 3, 0) + D(H - 1, 2)) >> 1;
                } else if (r == H - 1 && c == 0) {
                    mean = (D(H - 2, 0) + D(H - 1, 2)) >> 1;
                } else if (r < 2) {
                    mean = (D(r, c - 2) + D(r, c + 2) + 2 * D(r + 2, c)) >> 2;
                } else if (r >= H - 2) {
                    mean = (D(r, c - 2) + D(r, c + 2) + 2 * D(r - 2, c)) >> 2;
                } else if (c < 2) {
                    mean = (D(r - 2, c) + D(r + 2, c) + 2 * D(r, c + 2)) >> 2;
                } else if (c >= W - 2) {
                    mean = (D(r - 2, c) + D(r + 2, c) + 2 * D(r, c - 2)) >> 2;
                } else {
                    mean = (D(r - 2, c) + D(r + 2, c) + D(r, c - 2) + D(r, c + 2)) >> 2;
                }
                X.Set(r, c, pan_(r, c) - mean);
            }
        }
    }

    void StagePanSites(Plane& X) {
        const Plane before = X;
        const auto D = [this, &before](int r, int c) { return pan_(r, c) - before(r, c); };
        for (int r = 0; r < H_; ++r) {
            for (int c = r % 2; c < W_; c += 2) {
                if (Rim(r, c)) {
                    X.Set(r, c, RimMean(before, r, c));
                } else if (Across(r, c)) {
                    X.Set(r, c, pan_(r, c) - ((D(r, c + 1) + D(r, c - 1)) >> 1));
                } else {
                    X.Set(r, c, pan_(r, c) - ((D(r + 1, c) + D(r - 1, c)) >> 1));
                }
            }
        }
    }

    template <class Put>
    void Write(const Put& put) const {
        const double matrix[3][3] = {
            {param_.RR, param_.RG, param_.RB}, {param_.GR, param_.GG, param_.GB}, {param_.BR, param_.BG, param_.BB}};
        bool identity = true;
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) {
                identity = identity && matrix[i][j] == (i == j ? 1.0 : 0.0);
            }
        }
        const int shift = call_.toBytes ? -4 : param_.normalizationEnable ? 4 : call_.bits - 12;
        const int channels = call_.alpha ? 4 : 3;
        for (int y = 0; y < call_.rect.height; ++y) {
            for (int x = 0; x < call_.rect.width; ++x) {
                const Plane* const planes[3] = {&red_, &green_, &blue_};
                double rgb[3];
                for (int k = 0; k < 3; ++k) {
                    rgb[k] = (*planes[k])(gridY_ + y, gridX_ + x);
                }
                long row = 0;
                long column = 0;
                Walk(call_.rect.width, call_.rect.height, call_.dstStride, channels, x, y, row, column);
                const long offset = call_.dstStride < 0 ? -(row + column) : row + column;
                for (int k = 0; k < 3; ++k) {
                    double t = rgb[k];
                    if (!identity) {
                        t = rgb[1] * matrix[k][1];
                        t = std::fma(rgb[0], matrix[k][0], t);
                        t = std::fma(rgb[2], matrix[k][2], t);
                    }
                    const int v = std::isnan(t) || t < 0.0 ? 0 : t >= 4095.0 ? 4095 : static_cast<int>(t);
                    const int16_t tone = param_.toneTable[v];
                    const int out = shift < 0 ? tone >> -shift : tone * (1 << shift);
                    put(offset + (call_.bgr ? 2 - k : k), static_cast<uint32_t>(out));
                }
            }
        }
    }

    FastCall call_;
    tagTrueSenseParam param_;
    int gridX_ = 0, gridY_ = 0, W_ = 0, H_ = 0;
    Plane pan_, green_, red_, blue_;
};

}  // namespace orvtest

#endif
