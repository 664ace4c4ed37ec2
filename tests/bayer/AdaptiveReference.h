// The adaptive Bayer conversion site by site, on whole planes, straight from its formulas: what the engines have to
// equal.
#ifndef ORV_TESTS_ADAPTIVEREFERENCE_H
#define ORV_TESTS_ADAPTIVEREFERENCE_H

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <opencv2/core.hpp>
#include <utility>
#include <vector>

namespace orvtest {

template <class T>
class AdaptiveReference {
public:
    static constexpr bool kWide = sizeof(T) == 2;
    template <class V>
    using Plane = cv::Mat_<V>;

    AdaptiveReference(int width, int height)
        : width_(width), height_(height), W((width + 1) / 2 * 2), H((height + 1) / 2 * 2), green(H, W) {
        best_.create(H, W);
        scale_.create(H, W);
        for (int i = 0; i < 4; ++i) {
            a_[i] = Plane<float>::zeros(H, W);
            b_[i] = Plane<float>::zeros(H, W);
            gradient_[i].create(H, W);
            sum_[i].create(H + 1, W + 1);
        }
    }

    // `rows` holds height rows of width samples. The result stands in even, green, odd.
    void Convert(const std::vector<T>& rows, int greenPhase, int bitDepth) {
        gp_ = greenPhase;
        max_ = static_cast<int>((1U << bitDepth) - 1U);
        for (int r = 0; r < H; ++r) {
            for (int c = 0; c < W; ++c) {
                const int x = c < width_ ? c : c - 2;
                const int y = r < height_ ? r : r - 2;
                green(r, c) = x < 0 || y < 0 ? T(0) : rows[static_cast<size_t>(y * width_ + x)];
            }
        }
        green.copyTo(even);
        green.copyTo(odd);
        Green();
        Diagonal();
        Cross();
    }

    const int width_, height_, W, H;
    Plane<T> green, even, odd;

private:
    bool Colour(int r, int c) const { return ((r + c + gp_) & 1) != 0; }
    template <class Fn>
    void Sites(bool colour, const Fn& fn) {
        for (int r = 1; r < H - 1; ++r) {
            for (int c = 1; c < W - 1; ++c) {
                if (Colour(r, c) == colour) {
                    fn(r, c);
                }
            }
        }
    }
    static float Difference(int a, int b) { return static_cast<float>(std::abs(a - b)); }

    // Clears the gradients for a pass; of the wide engine's planes the one of the second sums stays as it is.
    void StartGradients() {
        for (auto& gradient : gradient_) {
            gradient = 0;
        }
        if (kWide) {
            b_[0].copyTo(gradient_[3]);
        }
    }
    void KeepSums() {
        if (kWide) {
            gradient_[3].copyTo(b_[0]);
        }
    }
    // The order of cv::integral: along the row, then the row above.
    void Integrate(int i) {
        sum_[i] = 0;
        for (int r = 0; r < H; ++r) {
            float row = 0;
            for (int c = 0; c < W; ++c) {
                row += gradient_[i](r, c);
                sum_[i](r + 1, c + 1) = sum_[i](r, c + 1) + row;
            }
        }
    }
    float Window(int i, int r, int c, int h) {
        const int bottom = std::min(r + h + 1, H);
        const int right = std::min(c + h + 1, W);
        if (kWide) {
            auto& sum = sum_[i];
            return ((sum(bottom, right) - sum(bottom, c - h)) - sum(r - h, right)) + sum(r - h, c - h);
        }
        float total = 0;
        for (int y = r - h; y < bottom; ++y) {
            for (int x = c - h; x < right; ++x) {
                total += gradient_[i](y, x);
            }
        }
        return total;
    }
    // `first` names the first gradient of a row, the second follows.
    template <class First>
    void Windows(bool colour, int radius, int i, const First& first) {
        Sites(colour, [&](int r, int c) {
            int h = radius;
            if (r <= radius) {
                h = std::min({r - 1, c - 1, W - 2 - c});
            } else if (r >= H - radius - 1) {
                h = std::min({H - 2 - r, c - 1, W - 2 - c});
            } else if (c <= radius) {
                h = c - 1;
            } else if (c >= W - radius - 1) {
                h = W - 2 - c;
            }
            a_[i](r, c) = Window(first(r), r, c, h);
            b_[i](r, c) = Window(first(r) + 1, r, c, h);
            const float area = static_cast<float>(((2 * h + 1) * (2 * h + 1) >> 1) + 1);
            const float contrast = std::fabs(a_[i](r, c) - b_[i](r, c)) / area;
            if (i == 0 || best_(r, c) < contrast) {
                best_(r, c) = contrast;
                scale_(r, c) = i;
            }
        });
    }
    float Blend(int r, int c, int d, int e) {
        const float a = a_[scale_(r, c)](r, c);
        const float b = b_[scale_(r, c)](r, c);
        const float a2 = a * a;
        const float b2 = b * b;
        const float wa = 1.0F / std::fma(a2, a2, 1.0F);
        const float wb = 1.0F / std::fma(b2, b2, 1.0F);
        const float t = static_cast<float>(e) * wb;
        const float n = std::fma(wa, static_cast<float>(d), t);
        return n / (std::fma(wa, 2.0F, wb) + wb) + 0.5F;
    }
    T Bound(int r, int c, float blend) {
        const int v = green(r, c) - static_cast<int>(blend);
        return static_cast<T>(v > max_ ? max_ : std::max(v, 0));
    }
    void Border(Plane<T>& x, bool colour) {
        const auto inside = [&](int r, int c) { return r >= 0 && c >= 0 && r < H && c < W; };
        for (int r = 0; r < H; ++r) {
            for (int c = 0; c < W; ++c) {
                const bool rowEnd = c == 0 || c == W - 1;
                const bool columnEnd = r == 0 || r == H - 1;
                if (Colour(r, c) != colour || (!rowEnd && !columnEnd)) {
                    continue;
                }
                int sum = 0;
                for (const auto& d : {std::pair<int, int>{-1, 0}, {1, 0}, {0, -1}, {0, 1}}) {
                    if (inside(r + d.first, c + d.second)) {
                        const bool inwards = rowEnd != columnEnd && (rowEnd ? d.second : d.first) != 0;
                        sum += (inwards ? 2 : 1) * x(r + d.first, c + d.second);
                    }
                }
                x(r, c) = static_cast<T>(sum >> (rowEnd && columnEnd ? 1 : 2));
            }
        }
    }

    void Green() {
        StartGradients();
        Sites(true, [&](int r, int c) {
            gradient_[2](r, c) = Difference(green(r, c - 1), green(r, c + 1));
            gradient_[3](r, c) = Difference(green(r - 1, c), green(r + 1, c));
        });
        Integrate(2);
        Integrate(3);
        KeepSums();
        for (int i = 0; i < 2; ++i) {
            Windows(true, 1 << i, i, [](int) { return 2; });
        }
        Border(green, true);
        const Plane<T> raw = green.clone();
        Sites(true, [&](int r, int c) {
            green(r, c) = static_cast<T>(
                static_cast<unsigned>(Blend(r, c, raw(r, c + 1) + raw(r, c - 1), raw(r + 1, c) + raw(r - 1, c))));
        });
    }

    void Diagonal() {
        StartGradients();
        Sites(true, [&](int r, int c) {
            const int first = (r & 1) != 0 ? 2 : 0;
            gradient_[first](r, c) = Difference(even(r + 1, c + 1), even(r - 1, c - 1));
            gradient_[first + 1](r, c) = Difference(even(r - 1, c + 1), even(r + 1, c - 1));
        });
        KeepSums();
        for (int i = 0; i < 4; ++i) {
            Integrate(i);
        }
        for (int i = 0; i < (kWide ? 3 : 2); ++i) {
            Windows(true, (kWide ? 1 : 2) << i, i, [](int r) { return (r & 1) != 0 ? 2 : 0; });
        }
        Sites(true, [&](int r, int c) {
            Plane<T>& x = (r & 1) != 0 ? even : odd;
            const auto delta = [&](int y, int u) { return green(y, u) - x(y, u); };
            x(r, c) = Bound(
                r, c,
                Blend(r, c, delta(r + 1, c + 1) + delta(r - 1, c - 1), delta(r + 1, c - 1) + delta(r - 1, c + 1)));
        });
        if (gp_ == 1) {
            odd(0, 0) = odd(1, 1);
            even(H - 1, W - 1) = even(H - 2, W - 2);
        } else {
            odd(0, W - 1) = odd(1, W - 2);
            even(H - 2, 1) = even(H - 1, 0);
        }
        for (int c = 1; c < W - 1; ++c) {
            if (Colour(0, c)) {
                odd(0, c) = static_cast<T>((odd(1, c - 1) + odd(1, c + 1)) >> 1);
            } else {
                even(H - 1, c) = static_cast<T>((even(H - 2, c - 1) + even(H - 2, c + 1)) >> 1);
            }
        }
        for (int r = 1; r < H - 1; ++r) {
            Plane<T>& x = (r & 1) != 0 ? even : odd;
            const int side = Colour(r, 0) ? 0 : W - 1;
            const int in = Colour(r, 0) ? 1 : W - 2;
            x(r, side) = static_cast<T>((x(r - 1, in) + x(r + 1, in)) >> 1);
        }
    }

    void Cross() {
        StartGradients();
        Sites(false, [&](int r, int c) {
            gradient_[0](r, c) = Difference(odd(r, c - 1), odd(r, c + 1));
            gradient_[1](r, c) = Difference(odd(r - 1, c), odd(r + 1, c));
            gradient_[2](r, c) = Difference(even(r, c - 1), even(r, c + 1));
            gradient_[3](r, c) = Difference(even(r - 1, c), even(r + 1, c));
        });
        KeepSums();
        for (int i = 0; i < 4; ++i) {
            Integrate(i);
        }
        for (const bool evenPlane : {true, false}) {
            Plane<T>& x = evenPlane ? even : odd;
            for (int i = 0; i < 2; ++i) {
                Windows(false, 1 << i, i, [&](int) { return evenPlane ? 2 : 0; });
            }
            Border(x, false);
            Sites(false, [&](int r, int c) {
                const auto delta = [&](int y, int u) { return green(y, u) - x(y, u); };
                x(r, c) =
                    Bound(r, c, Blend(r, c, delta(r, c + 1) + delta(r, c - 1), delta(r + 1, c) + delta(r - 1, c)));
            });
        }
    }

    int gp_ = 0;
    int max_ = 0;
    Plane<float> gradient_[4], sum_[4], a_[4], b_[4];
    Plane<float> best_;
    Plane<int> scale_;
};

}  // namespace orvtest

#endif
