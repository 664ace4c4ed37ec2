#include "truesense/Tables.h"

// Everything here is computed by the compiler from + - * / alone: the same bits on every machine, and no order of
// initialisation to mind.
namespace {

template <class T, int size>
struct Table {
    T values[size] = {};
};

// Of values from 0 up; std::lround is no constant expression.
constexpr int Round(double value) { return static_cast<int>(value + 0.5); }  // NOLINT(bugprone-incorrect-roundings)

// e to the power x, for x of 0 to 3, to about 1e-15.
constexpr double Exp(double x) {
    const double part = x / 8;
    double term = 1;
    double sum = 1;
    for (int i = 1; i < 18; ++i) {
        term = term * part / i;
        sum += term;
    }
    for (int i = 0; i < 3; ++i) {
        sum *= sum;
    }
    return sum;
}

// The gamma curve: the identity up to the joint c, c * exp(i / c - 1) above, equal in slope at the joint. The last
// code reaches the last linear value: c * exp(1023 / c - 1) = 4095.
constexpr double Joint() {
    double c = 277;
    for (int i = 0; i < 8; ++i) {
        const double e = Exp(1023 / c - 1);
        c -= (c * e - 4095) / (e * (1 - 1023 / c));
    }
    return c;
}
constexpr double kJoint = Joint();

constexpr double Linear(double code) { return code <= kJoint ? code : kJoint * Exp(code / kJoint - 1); }

constexpr Table<int32_t, 1024> MakeToLinear() {
    Table<int32_t, 1024> table;
    for (int i = 0; i < 1024; ++i) {
        table.values[i] = Round(Linear(i));
    }
    // Two rows stand one above the curve, and so do the samples that they give.
    ++table.values[773];
    ++table.values[1004];
    return table;
}

// The rounded inverse of the curve: the code whose interval from code - 0.5 to code + 0.5 holds the value.
constexpr Table<int32_t, 4096> MakeToGamma() {
    Table<int32_t, 4096> table;
    int code = 0;
    double end = Linear(0.5);
    for (int x = 0; x < 4096; ++x) {
        while (end <= x) {
            ++code;
            end = Linear(code + 0.5);
        }
        table.values[x] = code;
    }
    return table;
}

constexpr Table<int32_t, 1024> kToLinear = MakeToLinear();
constexpr Table<int32_t, 4096> kToGamma = MakeToGamma();

struct Knot {
    double x, y;
};

// The natural cubic spline through the knots, at every 12-bit value.
template <int count>
constexpr Table<int16_t, 4096> MakeTone(const Knot (&knots)[count]) {
    // Second derivatives at the knots, 0 at both ends: elimination down, substitution up.
    double curvature[count] = {};
    double ratio[count] = {};
    for (int i = 1; i < count - 1; ++i) {
        const double before = knots[i].x - knots[i - 1].x;
        const double after = knots[i + 1].x - knots[i].x;
        const double bend = (knots[i + 1].y - knots[i].y) / after - (knots[i].y - knots[i - 1].y) / before;
        const double pivot = (before + after) / 3 - before / 6 * ratio[i - 1];
        ratio[i] = after / 6 / pivot;
        curvature[i] = (bend - before / 6 * curvature[i - 1]) / pivot;
    }
    for (int i = count - 2; i > 0; --i) {
        curvature[i] -= ratio[i] * curvature[i + 1];
    }

    Table<int16_t, 4096> table;
    int i = 0;
    for (int x = 0; x < 4096; ++x) {
        if (x > knots[i + 1].x) {
            ++i;
        }
        const double width = knots[i + 1].x - knots[i].x;
        const double s = (knots[i + 1].x - x) / width;
        const double t = (x - knots[i].x) / width;
        const double bend = (s * s * s - s) * curvature[i] + (t * t * t - t) * curvature[i + 1];
        table.values[x] = static_cast<int16_t>(Round(s * knots[i].y + t * knots[i + 1].y + width * width / 6 * bend));
    }
    return table;
}

// Knots between 0 and 4095; where a row of the table is fixed, the curve rounds to it. The fractions make the curve
// bend as evenly as those rows allow; docs/tone-tables.py finds them and draws both curves.
constexpr Knot kToneKnots8[] = {{0, 0},           {8, 0.48},      {16, 1.9902},   {24, 4.4556},    {32, 7.48},
                                {48, 14.0921},    {64, 20.52},    {96, 31.7449},  {128, 41.2703},  {192, 57.449},
                                {256, 71.48},     {384, 95.8199}, {512, 116.48},  {768, 149.5677}, {1024, 174.48},
                                {1536, 208.2511}, {2048, 228.48}, {2560, 240.62}, {3072, 247.813}, {3584, 252.1852},
                                {4095, 255.3002}};
constexpr Knot kToneKnots12[] = {
    {0, 0},           {16, 81.0965},   {32, 161.9662},    {64, 322.0882},   {96, 478.3221},
    {128, 628.48},    {192, 903.3803}, {256, 1139.52},    {384, 1522.0742}, {512, 1846.48},
    {768, 2397.1788}, {1024, 2795.48}, {1536, 3313.7243}, {2048, 3648.48},  {2560, 3857.9895},
    {3072, 3970.52},  {3584, 4036.48}, {4095, 4094.9779}};
constexpr Table<int16_t, 4096> kTone8 = MakeTone(kToneKnots8);
constexpr Table<int16_t, 4096> kTone12 = MakeTone(kToneKnots12);

}  // namespace

constexpr const int32_t (&Gamma10toLinear12)[1024] = kToLinear.values;
constexpr const int32_t (&Linear12toGamma10)[4096] = kToGamma.values;
constexpr const int16_t (&Tonescale12)[4096] = kTone8.values;
constexpr const int16_t (&Tonescale12Table12)[4096] = kTone12.values;

constexpr const int32_t (&Gamma10toLinear12Table)[1024] = kToLinear.values;
constexpr const int32_t (&Linear12toGamma10Table)[4096] = kToGamma.values;
constexpr const int16_t (&Tonescale12Table)[4096] = kTone8.values;
