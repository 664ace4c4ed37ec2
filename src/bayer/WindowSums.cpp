#include "bayer/WindowSums.h"

#include <algorithm>

#include "rows/Avx2.h"
#include "rows/Simd.h"

namespace orv {

namespace {

constexpr int kCentre = kMaxRadius;

// Sums over windows of half-widths H0 and H1, `rows` has the gradient rows around the centre, `p` is the column parity
// of the centre's row. Rows at an odd distance count with `Both`, no farther than 1; their sites stand between those of
// the centre's row. `column` takes the sums over the rows at even distance of either window, and at odd distance.
template <int H0, int H1, bool Both>
ORV_ALWAYS_INLINE void BoxRowsBody(const uint16_t* const* rows, int p, uint16_t* const* column, int n, uint16_t* out0,
                                   uint16_t* out1) {
    static_assert(H0 <= 2 && H0 <= H1 && H1 <= (Both ? 2 : 4), "sides below");
    const uint16_t* s0 = rows[kCentre];
    const uint16_t* s1 = rows[kCentre - (H1 >= 2 ? 2 : 0)];
    const uint16_t* s2 = rows[kCentre + (H1 >= 2 ? 2 : 0)];
    const uint16_t* s3 = rows[kCentre - (H1 >= 4 ? 4 : 0)];
    const uint16_t* s4 = rows[kCentre + (H1 >= 4 ? 4 : 0)];
    const uint16_t* b0 = rows[kCentre - (Both && H1 >= 1 ? 1 : 0)];
    const uint16_t* b1 = rows[kCentre + (Both && H1 >= 1 ? 1 : 0)];
    uint16_t* same0 = column[0];
    uint16_t* same1 = column[1];
    uint16_t* between = column[2];
#pragma omp simd
    for (int k = 0; k < n; ++k) {
        uint16_t sum = s0[k];
        if (H1 >= 2) {
            sum = static_cast<uint16_t>(sum + s1[k] + s2[k]);
        }
        if (H0 == 2) {
            same0[k] = sum;
        }
        if (H1 >= 4) {
            sum = static_cast<uint16_t>(sum + s3[k] + s4[k]);
        }
        same1[k] = sum;
        if (Both && H1 >= 1) {
            between[k] = static_cast<uint16_t>(b0[k] + b1[k]);
        }
    }
    const uint16_t* inner = H0 == 2 ? same0 : s0;
    const uint16_t* left = between + p - 1;
    const uint16_t* right = between + p;
#pragma omp simd
    for (int k = 0; k < n; ++k) {
        uint16_t sum0 = inner[k];
        uint16_t sum1 = same1[k];
        if (H0 >= 2) {
            sum0 = static_cast<uint16_t>(sum0 + inner[k - 1] + inner[k + 1]);
        }
        if (H1 >= 2) {
            sum1 = static_cast<uint16_t>(sum1 + same1[k - 1] + same1[k + 1]);
        }
        if (H1 >= 4) {
            sum1 = static_cast<uint16_t>(sum1 + same1[k - 2] + same1[k + 2]);
        }
        if (Both && H1 >= 1) {
            const uint16_t beside = static_cast<uint16_t>(left[k] + right[k]);
            sum0 = static_cast<uint16_t>(sum0 + beside);
            sum1 = static_cast<uint16_t>(sum1 + beside);
        }
        out0[k] = sum0;
        out1[k] = sum1;
    }
}
ORV_ROW_TEMPLATE_WIDE((int H0, int H1, bool Both), (H0, H1, Both), BoxRows,
                      (const uint16_t* const* rows, int p, uint16_t* const* column, int n, uint16_t* out0,
                       uint16_t* out1),
                      (rows, p, column, n, out0, out1))

// Near the upper and the lower edge both windows have the size of the smaller one.
auto BoxRowsOf(int h0, int h1, bool bothParities) {
    if (bothParities) {
        return h0 == 0 ? BoxRows<0, 0, true> : h1 == 1 ? BoxRows<1, 1, true> : BoxRows<1, 2, true>;
    }
    // Windows of an odd half-width end on rows and columns that count as zero.
    return h0 <= 1 ? BoxRows<0, 0, false> : h1 <= 3 ? BoxRows<2, 2, false> : BoxRows<2, 4, false>;
}

// clang 14 rejects the scan directive in templates; its loop runs in order, which gives the same where sums are exact.
#if defined(__clang__)
#define ORV_SCAN_LOOP
#define ORV_SCAN_POINT
#else
#define ORV_SCAN_LOOP _Pragma("omp simd reduction(inscan, + : running)")
#define ORV_SCAN_POINT _Pragma("omp scan inclusive(running)")
#endif

// `n` pairs of columns of a row, `*sum` being that of the row before them. The running sums are formed in no fixed
// order, so the part holds only where all partial sums are exact. `*size` bounds them: the sum of all magnitudes up to
// here; gradients, which stand without values between, are not negative.
template <bool SitesEven, bool Between>
ORV_ALWAYS_INLINE void IntegralPartBody(const IntegralRow* part, int n, float* sum, float* size) {
    const IntegralRow row = *part;
    float running = *sum;
    ORV_SCAN_LOOP
    for (int k = 0; k < n; ++k) {
        running += Between ? row.sites[k] + row.between[k] : row.sites[k];
        ORV_SCAN_POINT
        // Up to the even column: less the odd one.
        row.nextEven[k + 1] = row.aboveEven[k + 1] + running;
        row.nextOdd[k] = row.aboveOdd[k] + (!SitesEven ? running - row.sites[k]
                                            : Between  ? running - row.between[k]
                                                       : running);
    }
    *sum = running;
    float magnitudes = 0.0F;
    if (Between) {
#pragma omp simd reduction(+ : magnitudes)
        for (int k = 0; k < n; ++k) {
            magnitudes += __builtin_fabsf(row.sites[k]) + __builtin_fabsf(row.between[k]);
        }
    }
    *size = Between ? *size + magnitudes : running;
}

#if defined(__x86_64__)
// By hand: the compiler's scan takes half as many steps again.

// Running sums of eight values, `carry` in front of them; adds their total to `carry`, which is the same in all places.
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE __m256 RunningSums(__m256 x, __m256* carry) {
    x = _mm256_add_ps(x, _mm256_castsi256_ps(_mm256_slli_si256(_mm256_castps_si256(x), 4)));
    x = _mm256_add_ps(x, _mm256_castsi256_ps(_mm256_slli_si256(_mm256_castps_si256(x), 8)));
    const __m256 totals = _mm256_permute_ps(x, 0xFF);
    const __m256 swapped = _mm256_permute2f128_ps(totals, totals, 0x01);
    x = _mm256_add_ps(x, _mm256_blend_ps(_mm256_setzero_ps(), swapped, 0xF0));
    x = _mm256_add_ps(x, *carry);
    *carry = _mm256_add_ps(*carry, _mm256_add_ps(totals, swapped));
    return x;
}

// Eight pairs of columns from pair k on, of these values.
template <bool SitesEven, bool Between>
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE void EightPairs(const IntegralRow& row, int k, __m256 sites, __m256 between,
                                                  __m256* sum, __m256* size) {
    const __m256 magnitude = _mm256_castsi256_ps(_mm256_set1_epi32(0x7FFFFFFF));
    const __m256 sums = RunningSums(Between ? _mm256_add_ps(sites, between) : sites, sum);
    const __m256 odd = Between && SitesEven ? between : sites;
    const __m256 upToEven = SitesEven && !Between ? sums : _mm256_sub_ps(sums, odd);
    _mm256_storeu_ps(row.nextEven + k + 1, _mm256_add_ps(_mm256_loadu_ps(row.aboveEven + k + 1), sums));
    _mm256_storeu_ps(row.nextOdd + k, _mm256_add_ps(_mm256_loadu_ps(row.aboveOdd + k), upToEven));
    if (Between) {
        *size = _mm256_add_ps(*size, _mm256_add_ps(_mm256_and_ps(sites, magnitude), _mm256_and_ps(between, magnitude)));
    }
}

template <bool SitesEven, bool Between>
ORV_TARGET_AVX2 ORV_ALWAYS_INLINE void IntegralPartBodyAvx2(const IntegralRow* part, int n, float* sum, float* size) {
    const IntegralRow row = *part;
    __m256 sums = _mm256_set1_ps(*sum);
    __m256 sizes = _mm256_setzero_ps();
    int k = 0;
    for (; k + 8 <= n; k += 8) {
        EightPairs<SitesEven, Between>(row, k, _mm256_loadu_ps(row.sites + k),
                                       Between ? _mm256_loadu_ps(row.between + k) : sums, &sums, &sizes);
    }
    if (k < n) {
        // What stands in the padding would count as values of the row.
        const __m256i inside = _mm256_cmpgt_epi32(_mm256_set1_epi32(n - k), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
        EightPairs<SitesEven, Between>(row, k, _mm256_maskload_ps(row.sites + k, inside),
                                       Between ? _mm256_maskload_ps(row.between + k, inside) : sums, &sums, &sizes);
    }
    *sum = _mm256_cvtss_f32(sums);
    __m256 total = _mm256_set1_ps(*size);
    RunningSums(sizes, &total);
    *size = _mm256_cvtss_f32(Between ? total : sums);
}
#endif
ORV_ROW_TEMPLATE_TUNED((bool SitesEven, bool Between), (SitesEven, Between), IntegralPart,
                       (const IntegralRow* part, int n, float* sum, float* size), (part, n, sum, size))

// Where sums round: column by column, but for zeros. `sum` is that of the columns before; returns that of all.
template <bool AtEven, bool AtOdd>
float IntegralColumns(const IntegralRow& row, const float* atEven, const float* atOdd, int n, float sum) {
    for (int k = 0; k < n; ++k) {
        if (AtEven) {
            sum += atEven[k];
        }
        row.nextOdd[k] = row.aboveOdd[k] + sum;
        if (AtOdd) {
            sum += atOdd[k];
        }
        row.nextEven[k + 1] = row.aboveEven[k + 1] + sum;
    }
    return sum;
}

// A row on its way from left to right, by parts as far as its sums are exact, the rest in order.
class RowInParts {
public:
    RowInParts(const IntegralRow& row, bool sitesEven) : row_(row), sitesEven_(sitesEven) {}

    void Advance(int n) {
        if (exact_) {
            const auto part = row_.between == nullptr
                                  ? (sitesEven_ ? IntegralPart<true, false> : IntegralPart<false, false>)
                                  : (sitesEven_ ? IntegralPart<true, true> : IntegralPart<false, true>);
            const float before = sum_;
            part(&row_, n, &sum_, &size_);
            exact_ = size_ < kExact;
            sum_ = exact_ ? sum_ : before;
        }
        if (!exact_) {
            const auto columns = row_.between != nullptr ? IntegralColumns<true, true>
                                 : sitesEven_            ? IntegralColumns<true, false>
                                                         : IntegralColumns<false, true>;
            sum_ = columns(row_, AtEven(), AtOdd(), n, sum_);
        }
        Step(n);
    }

    // The same for a row and the one `below` it, both with values between. A running sum waits for the one before;
    // those of two rows wait together.
    void AdvanceWith(RowInParts* below, int n) {
        if (exact_ || below->exact_) {
            Advance(n);
            below->Advance(n);
            return;
        }
        const IntegralRow upper = row_;
        const IntegralRow lower = below->row_;
        const float* upperEven = AtEven();
        const float* upperOdd = AtOdd();
        const float* lowerEven = below->AtEven();
        const float* lowerOdd = below->AtOdd();
        float upperSum = sum_;
        float lowerSum = below->sum_;
        for (int k = 0; k < n; ++k) {
            upperSum += upperEven[k];
            lowerSum += lowerEven[k];
            const float odd = upper.aboveOdd[k] + upperSum;
            upper.nextOdd[k] = odd;
            lower.nextOdd[k] = odd + lowerSum;
            upperSum += upperOdd[k];
            lowerSum += lowerOdd[k];
            const float even = upper.aboveEven[k + 1] + upperSum;
            upper.nextEven[k + 1] = even;
            lower.nextEven[k + 1] = even + lowerSum;
        }
        sum_ = upperSum;
        below->sum_ = lowerSum;
        Step(n);
        below->Step(n);
    }

private:
    static constexpr float kExact = 16777216.0F;  // 2^24, up to which single precision holds every integer

    const float* AtEven() const { return sitesEven_ || row_.between == nullptr ? row_.sites : row_.between; }
    const float* AtOdd() const { return sitesEven_ && row_.between != nullptr ? row_.between : row_.sites; }
    void Step(int n) {
        row_.sites += n;
        row_.between += row_.between == nullptr ? 0 : n;
        row_.aboveEven += n;
        row_.aboveOdd += n;
        row_.nextEven += n;
        row_.nextOdd += n;
    }

    IntegralRow row_;
    bool sitesEven_;
    bool exact_ = true;
    float sum_ = 0.0F;
    float size_ = 0.0F;
};

constexpr int kPart = 512;  // pairs of columns

}  // namespace

bool WindowSums<uint8_t>::Create(int width, int height) {
    width_ = width;
    height_ = height;
    return first_.Create(kMaxSlots, width / 2) && second_.Create(kMaxSlots, width / 2) && zero_.Create(1, width / 2);
}

void WindowSums<uint8_t>::Start(int q, int reach, bool bothParities, bool) {
    q_ = q;
    bothParities_ = bothParities;
    next_ = 0;
    slot_ = 0;
    slots_ = bothParities ? 2 * reach + 1 : reach + 1;
    std::fill(firstRows_, firstRows_ + 2 * kRing, zero_[0]);
    std::fill(secondRows_, secondRows_ + 2 * kRing, zero_[0]);
}

void WindowSums<uint8_t>::Push(bool zero, const float*, const float*) {
    const int place = next_++ % kRing;
    firstRows_[place] = firstRows_[place + kRing] = zero ? zero_[0] : first_[slot_];
    secondRows_[place] = secondRows_[place + kRing] = zero ? zero_[0] : second_[slot_];
    slot_ = zero ? slot_ : (slot_ + 1) % slots_;
}

BoxWindows WindowSums<uint8_t>::WindowsOf(int r, const int* h, int, Scratch& scratch, float*) const {
    const int p = (r + q_) & 1;
    const int n = RoundUpToLanes(width_ / 2);
    const auto box = BoxRowsOf(h[0], h[1], bothParities_);
    Gradient* const column[] = {scratch[4], scratch[5], scratch[6]};
    const int top = (r - kCentre + kRing) % kRing;
    box(firstRows_ + top, p, column, n, scratch[0], scratch[1]);
    box(secondRows_ + top, p, column, n, scratch[2], scratch[3]);
    Gradient* const a[] = {scratch[0], scratch[1]};
    Gradient* const b[] = {scratch[2], scratch[3]};
    Shrink(r, h, a, b);
    return {{scratch[0], scratch[1]}, {scratch[2], scratch[3]}, {WindowArea(h[0]), WindowArea(h[1])}};
}

// Sites at the left and the right end of row r, whose windows shrink to half-width `room` to stay off the border. Where
// the smaller window fits, it counts: what is left of the larger one is the same window or, of half-width 3, has the
// same sum over more sites. Where it does not fit, both windows are left with the site alone: `room` is 0, or it is 1
// and the neighbours are zero.
void WindowSums<uint8_t>::Shrink(int r, const int* h, Gradient* const* a, Gradient* const* b) const {
    const int p = (r + q_) & 1;
    const Gradient* first = firstRows_[r % kRing];
    const Gradient* second = secondRows_[r % kRing];
    const auto shrink = [&](int k, int room) {
        a[1][k] = room < h[0] ? first[k] : a[0][k];
        b[1][k] = room < h[0] ? second[k] : b[0][k];
        a[0][k] = a[1][k];
        b[0][k] = b[1][k];
    };
    for (int c = 2 - p; c - 1 < h[1]; c += 2) {
        shrink(c >> 1, c - 1);
    }
    for (int c = width_ - 2 - p; width_ - 2 - c < h[1]; c -= 2) {
        shrink(c >> 1, width_ - 2 - c);
    }
}

void WindowSums<uint8_t>::Site(int r, int c, int h, float* a, float* b) const {
    // Where only one parity of rows counts, so does only one parity of columns, and windows end with the last that
    // does.
    const int step = bothParities_ ? 1 : 2;
    const int reach = bothParities_ ? h : h & ~1;
    const int bottom = std::min(r + reach, height_ - 1);
    const int right = std::min(c + reach, width_ - 1);
    int first = 0;
    int second = 0;
    for (int y = r - reach; y <= bottom; y += step) {
        const Gradient* firstRow = firstRows_[y % kRing];
        const Gradient* secondRow = secondRows_[y % kRing];
        // Sites of this row within [c - reach, right].
        const int p = (y + q_) & 1;
        const int end = (right - p) >> 1;
        for (int k = (c - reach - p + 1) >> 1; k <= end; ++k) {
            first += firstRow[k];
            second += secondRow[k];
        }
    }
    *a = static_cast<float>(first);
    *b = static_cast<float>(second);
}

bool WindowSums<uint16_t>::Integral::Create(int width, int frameHeight) {
    height = frameHeight;
    return even.Create(kMaxSlots + 1, width / 2 + 1) && odd.Create(kMaxSlots + 1, width / 2 + 1);
}

void WindowSums<uint16_t>::Integral::Start(int rows) {
    // Row 0 is zero. The first element of every even row stays so.
    slot = 0;
    slots = rows;
    evenRows[0] = even[0];
    oddRows[0] = odd[0];
}

void WindowSums<uint16_t>::Integral::Repeat(int y) {
    evenRows[(y + 1) % kRing] = evenRows[y % kRing];
    oddRows[(y + 1) % kRing] = oddRows[y % kRing];
}

IntegralRow WindowSums<uint16_t>::Integral::Next(int y, const float* sites, const float* between) {
    // Slot 0 keeps the zeros of row 0.
    slot = slot % slots + 1;
    evenRows[(y + 1) % kRing] = even[slot];
    oddRows[(y + 1) % kRing] = odd[slot];
    return {sites, between, evenRows[y % kRing], oddRows[y % kRing], even[slot], odd[slot]};
}

float WindowSums<uint16_t>::Integral::Window(int top, int bottom, int left, int right) const {
    return ((At(bottom, right) - At(bottom, left)) - At(top, right)) + At(top, left);
}

CornerRow WindowSums<uint16_t>::Integral::Row(int r, int h, int p) const {
    // Columns c - h and c + h + 1 of the sites c = 2 * k + p have opposite parities.
    const float* const* rightRows = ((p + h) & 1) == 0 ? oddRows : evenRows;
    const float* const* leftRows = ((p + h) & 1) == 0 ? evenRows : oddRows;
    const int right = (p + h + 1) >> 1;
    const int left = (p - h) >> 1;
    const int top = (r - h) % kRing;
    const int bottom = std::min(r + h + 1, height) % kRing;
    return {rightRows[bottom] + right, leftRows[bottom] + left, rightRows[top] + right, leftRows[top] + left};
}

bool WindowSums<uint16_t>::Create(int width, int height) {
    width_ = width;
    height_ = height;
    return first_.Create(width, height) && second_.Create(width, height) && gradients_.Create(2, width / 2);
}

void WindowSums<uint16_t>::Start(int q, int reach, bool bothParities, bool carries) {
    q_ = q;
    next_ = 0;
    carries_ = carries;
    waiting_ = {};
    // Windows reach 2 * reach + 2 rows of the image. Where every second one repeats, those are reach + 2 different
    // ones.
    const int all = 2 * reach + 2;
    const int half = reach + 2;
    first_.Start(bothParities ? all : half);
    second_.Start(bothParities || carries ? all : half);
}

void WindowSums<uint16_t>::Push(bool zero, const float* carriedAtSites, const float* carriedBetween) {
    const int y = next_++;
    const bool sitesEven = ((y + q_) & 1) == 0;
    if (zero) {
        first_.Repeat(y);
    } else {
        RowInParts row(first_.Next(y, gradients_[0], nullptr), sitesEven);
        for (int n = width_ / 2; n > 0; n -= kPart) {
            row.Advance(std::min(n, kPart));
        }
    }
    const float* sites = zero ? carriedAtSites : gradients_[1];
    if (sites == nullptr) {
        second_.Repeat(y);
        return;
    }
    const IntegralRow second = second_.Next(y, sites, carriedBetween);
    // Windows of a pass that carries on all rows stand on odd rows and reach odd ones: an even row waits for the next.
    if (carries_ && (y & 1) == 0 && y + 1 < height_ - 1) {
        waiting_ = second;
        return;
    }
    RowInParts row(second, sitesEven);
    RowInParts above(waiting_, !sitesEven);
    for (int n = width_ / 2; n > 0; n -= kPart) {
        if (waiting_.sites != nullptr) {
            above.AdvanceWith(&row, std::min(n, kPart));
        } else {
            row.Advance(std::min(n, kPart));
        }
    }
    waiting_ = {};
}

CornerWindows WindowSums<uint16_t>::WindowsOf(int r, const int* h, int scales, Scratch&, float* carried) const {
    const int p = (r + q_) & 1;
    CornerWindows windows = {};
    for (int scale = 0; scale < scales; ++scale) {
        windows.a[scale] = first_.Row(r, h[scale], p);
        windows.b[scale] = second_.Row(r, h[scale], p);
        windows.area[scale] = static_cast<float>(WindowArea(h[scale]));
    }
    windows.carried = carried;
    return windows;
}

void WindowSums<uint16_t>::Site(int r, int c, int h, float* a, float* b) const {
    const int bottom = std::min(r + h + 1, height_);
    const int right = std::min(c + h + 1, width_);
    *a = first_.Window(r - h, bottom, c - h, right);
    *b = second_.Window(r - h, bottom, c - h, right);
}

}  // namespace orv
