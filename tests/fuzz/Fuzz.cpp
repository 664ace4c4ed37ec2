// Calls of every public function with whatever a careless caller hands over: the bytes of the input choose calls,
// numbers and frames. Frames are as large as described, up to an unreadable page; everything else may be wrong. A run
// aborts where memory outside a frame is touched, padding or a refused destination changes, or the word is no status.
#include <sanitizer/asan_interface.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <string>

#include "OrvBayer.h"
#include "OrvHelpers.h"
#include "OrvTrueSense.h"

namespace {

void Require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "fuzz: %s\n", what);
        std::abort();
    }
}

class Input {
public:
    Input(const uint8_t* data, size_t size) : at_(data), left_(size) {}
    bool Empty() const { return left_ == 0; }
    // Zero past the end.
    template <class T = uint8_t>
    T Any() {
        T value{};
        const size_t n = std::min(left_, sizeof(T));
        std::memcpy(&value, at_, n);
        at_ += n;
        left_ -= n;
        return value;
    }
    int Below(int limit) { return limit < 1 ? 0 : Any() % limit; }
    bool Once(int times) { return Below(times) == 1; }
    // Mostly small, some near the limits, some any.
    int64_t Wild() {
        const int64_t values[] = {INT64_MAX, INT32_MAX, int64_t{INT32_MAX} + 1, INT32_MIN, -1, Below(256), Below(64)};
        return Once(8) ? Any<int64_t>() : values[Below(7)];
    }
    int Number() { return static_cast<int>(Wild()); }
    double Real() { return Once(2) ? Any<double>() : Any<int16_t>() / 64.0; }
    std::string Text() {
        std::string text(static_cast<size_t>(Below(24)), '\0');
        std::generate(text.begin(), text.end(), [this] { return Any<char>(); });
        return text.c_str();  // to the first zero
    }
    // Null now and then.
    template <class T>
    T* Maybe(T* pointer) {
        return Once(64) ? nullptr : pointer;
    }

private:
    const uint8_t* at_;
    size_t left_;
};

// Rows of a frame. A negative stride lets rows run up in memory or, of TrueSense frames, columns run backward.
struct Rows {
    int64_t width, rows, stride;
    int pixelBytes, sampleBytes;
    bool backward;

    bool Empty() const { return width <= 0 || rows <= 0; }
    int64_t RowBytes() const { return std::max<int64_t>(width, 0) * pixelBytes; }
    // Bytes from row to row: strides count whole samples.
    int64_t Step() const {
        if (backward) {
            return std::llabs(sampleBytes == 2 ? (stride >> 1) * 2 : stride);
        }
        return stride == 0 ? RowBytes() : stride / sampleBytes * sampleBytes;
    }
    // The most that a step takes, in whole samples.
    int64_t Reach() const {
        const int64_t step = backward || stride == 0 ? Step() : std::llabs(stride);
        return step + step % sampleBytes;
    }
    int64_t Lead() const {
        if (Empty() || stride >= 0) {
            return 0;
        }
        return backward ? RowBytes() - pixelBytes : (rows - 1) * Reach();
    }
    int64_t Bytes() const { return Empty() ? 0 : (rows - 1) * Reach() + RowBytes(); }
};

// Sizes of 0 to 70, seldom negative. A claim of 2^40 pixels and more, with a short stride, is refused before a pixel is
// touched, for lack of memory or for the stride: no rows stand behind it.
struct Size {
    int width, height;
    bool huge;
    explicit Size(Input& in) : huge(in.Once(64)) { width = Length(in), height = Length(in); }
    int Length(Input& in) { return huge ? INT32_MAX - in.Any<uint16_t>() : in.Once(64) ? -5 : in.Below(71); }
};

Rows MakeRows(Input& in, const Size& size, int channels, int sampleBytes, bool backward) {
    Rows rows = {size.width, size.height, 64, channels * sampleBytes, sampleBytes, backward};
    const int64_t bytes = rows.RowBytes();
    // Tight, the adaptive engine's own, padded, 0, of any sign, too short.
    const int64_t own = bytes + (rows.width & 1) * rows.pixelBytes;
    const int64_t padding = 2 * in.Below(32);
    const int64_t strides[] = {bytes, own, bytes + padding, bytes + 1, 0, -bytes - padding / 2, in.Any<int8_t>()};
    rows.stride = size.huge ? rows.stride : strides[in.Below(7)];
    return rows;
}

// Memory between two unreadable pages; what a frame does not use is poisoned too.
class Arena {
public:
    static constexpr int64_t kBytes = 1 << 18;
    static constexpr int kPage = 1 << 16;  // or a multiple of one
    static constexpr uint8_t kFill = 0xA5;
    Arena() {
        base_ = static_cast<uint8_t*>(mmap(nullptr, kBytes + 2 * kPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        base_ += kPage;
        Require(mprotect(base_, kBytes, PROT_READ | PROT_WRITE) == 0, "no memory");
    }
    uint8_t* Take(Input& in, int64_t bytes, int alignment = 1) {
        Require(bytes >= 0 && bytes <= kBytes, "a frame is too large for the harness");
        bytes_ = bytes;
        data_ = base_ + (in.Once(4) ? 0 : (kBytes - bytes) / alignment * alignment);
        ASAN_POISON_MEMORY_REGION(base_, kBytes);
        ASAN_UNPOISON_MEMORY_REGION(data_, static_cast<size_t>(bytes));
        std::memset(data_, kFill, static_cast<size_t>(bytes));
        return data_;
    }
    uint8_t* Take(Input& in, const Rows& rows, bool huge, int64_t atLeast = 0) {
        return huge ? Take(in, 0) : Take(in, std::max(rows.Bytes(), atLeast), rows.sampleBytes) + rows.Lead();
    }
    void MakeNoise(Input& in) {
        uint32_t state = in.Any<uint16_t>();
        const uint32_t high = in.Once(2) ? 0x0F : 0xFF;
        for (int64_t i = 0; i < bytes_; ++i) {
            state = state * 1664525U + 1013904223U;
            data_[i] = static_cast<uint8_t>((state >> 24) & (i % 2 != 0 ? high : 0xFF));
        }
    }
    // Outside the first `written` bytes of every pixel, or all over after a failure, nothing has changed.
    void Check(const Rows& rows, bool failed, int written) {
        uint8_t* first = data_ + (rows.backward ? 0 : rows.Lead());
        for (int64_t i = 0; bytes_ > 0 && !failed && !rows.Empty() && i < rows.rows * rows.width; ++i) {
            std::memset(first + i / rows.width * rows.Step() + i % rows.width * rows.pixelBytes, kFill,
                        static_cast<size_t>(written));
        }
        Require(std::all_of(data_, data_ + bytes_, [](uint8_t byte) { return byte == kFill; }),
                "bytes changed that are no pixels");
    }

private:
    uint8_t* base_ = nullptr;
    uint8_t* data_ = nullptr;
    int64_t bytes_ = 0;
};

Arena g_source, g_destination, g_scratch;

// Words of the table from `first` on, or any.
uint32_t Word(Input& in, int first, int count) {
    return in.Once(16) ? in.Any<uint32_t>() : OrvWord_At(first + in.Below(count));
}
int SampleBytes(uint32_t word) { return OrvWord_Bits(word) > 8 ? 2 : 1; }
int Depth(Input& in, int bits) { return in.Once(8) ? in.Number() : bits; }
int Algorithm(Input& in) { return in.Once(16) ? in.Number() : in.Below(5); }

_OrvImage Record(Input& in, uint32_t word, const Rows& rows, void* data) {
    _OrvImage image = {};
    image.pixelType = word;
    image.bitDepth = Depth(in, OrvWord_Bits(word));
    image.width = static_cast<int32_t>(rows.width);
    image.height = static_cast<int32_t>(rows.rows);
    image.stride = static_cast<int32_t>(rows.stride);
    image.imageSize = in.Once(4) ? in.Number() : static_cast<int32_t>(rows.rows * rows.stride);
    image.data = data;
    return image;
}

// A source and a destination with their memory.
struct Pair {
    Size size, target;
    Rows from, to;
    uint8_t* source;
    uint8_t* destination;

    Pair(Input& in, int sourceBytes, int channels, int sampleBytes, bool backward)
        : size(in), target(!backward && in.Once(4) ? Size(in) : size) {
        from = MakeRows(in, size, 1, sourceBytes, backward);
        to = MakeRows(in, target, channels, sampleBytes, backward);
        // The adaptive engine copies one block, to the end of the last row's padding.
        source = in.Maybe(g_source.Take(in, from, size.huge, from.Empty() ? 0 : from.rows * from.stride));
        g_source.MakeNoise(in);
        destination = in.Maybe(g_destination.Take(in, to, target.huge));
    }
    // Bayer calls throw nothing here; what passes out of a TrueSense conversion is an exception that the header names.
    // TrueSense engines that failed half-way may have written.
    template <class Call>
    void Check(uint32_t family, int channels, const Call& call) const {
        uint32_t status = 0x80060001U;
        try {
            status = call();
        } catch (const std::exception&) {
        }
        Require(status == 0 || status >> 16 == (0x8000U | family), "status of another family");
        g_destination.Check(to, status != 0 && status != 0x80060001U, channels * to.sampleBytes);
    }
};

// The same with records.
struct Frames : Pair {
    _OrvImage source, destination;
    Frames(Input& in, uint32_t word, uint32_t colour, int channels, int sampleBytes, bool backward)
        : Pair(in, SampleBytes(word), channels, sampleBytes, backward),
          source(Record(in, word, from, Pair::source)),
          destination(Record(in, colour, to, Pair::destination)) {}
};

void BayerRecords(Input& in, OrvBayer* component) {
    const uint32_t word = Word(in, 0, 20);
    const uint32_t target = Word(in, 84, 12);
    const int what = in.Below(8);
    const bool helper = what == 2;
    const int algorithm = helper ? in.Below(5) : Algorithm(in);
    OrvSetParam(*component->GetComponent(), "BayerAlgType", algorithm);
    Frames f(in, word, target, helper ? OrvWord_Channels(target) : 3, SampleBytes(helper ? target : word), false);
    component = in.Maybe(component);
    _OrvImage* source = in.Maybe(&f.source);
    _OrvImage* destination = in.Maybe(&f.destination);
    if (helper) {
        const int64_t needed = OrvFrame_ConvertBayerBytes(source, destination, algorithm);
        const auto bytes = static_cast<size_t>(std::clamp<int64_t>(needed + in.Below(3) - 1, 0, Arena::kBytes));
        uint8_t* scratch = g_scratch.Take(in, static_cast<int64_t>(bytes));
        const uint32_t status = OrvFrame_ConvertBayer(component, source, destination, scratch, bytes);
        Require(status != 0 || static_cast<size_t>(needed) <= bytes, "converted what was refused");
        g_destination.Check(f.to, status != 0 && status >> 16 != 0x8005U, f.to.pixelBytes);
    } else if (what == 3) {
        OrvBayer_AllocData(component, source, destination);
    } else if (what == 4) {
        OrvBayer_ReleaseData(component);
    } else if (what == 5) {
        f.Check(5, 3, [&] { return BayerToColor(source, destination, algorithm); });
    } else {
        f.Check(5, 3, [&] { return OrvBayer_ConvertImage(component, source, destination); });
    }
}

// Settings of plain calls, some of them any number.
struct Settings {
    tagTrueSenseParam param;
    int16_t table[4096];
    explicit Settings(Input& in) {
        TrueSense_DefaultValues(&param);
        for (int n = in.Below(12); n > 0; --n) {
            const size_t field = static_cast<size_t>(in.Below(offsetof(tagTrueSenseParam, toneTable) / sizeof(long)));
            const int64_t number = in.Wild();
            const double real = in.Real();
            std::memcpy(reinterpret_cast<long*>(&param) + field,
                        field < 8 || in.Once(4) ? static_cast<const void*>(&number) : &real, sizeof(long));
        }
        const int slope = in.Any<int16_t>();
        for (int i = 0; i < 4096; ++i) {
            table[i] = static_cast<int16_t>(i * slope);
        }
        param.toneTable = in.Once(4) ? table : nullptr;
    }
};

void TrueSenseRecords(Input& in, OrvTrueSense* component) {
    const uint32_t word = Word(in, 20, 64);
    const uint32_t target = Word(in, 84, 12);
    const int what = in.Below(8);
    const int algorithm = Algorithm(in);
    OrvSetParam(*component->GetComponent(), "TrueSenseAlgType", algorithm);
    Frames f(in, word, target, OrvWord_Channels(target), SampleBytes(target), true);
    _OrvImage* source = in.Maybe(&f.source);
    _OrvImage* destination = in.Maybe(&f.destination);
    component = in.Maybe(component);
    if (what == 2) {
        OrvTrueSense_AllocData(component, source, destination);
    } else if (what == 3) {
        OrvTrueSense_ReleaseData(component);
    } else if (what == 4) {
        Settings settings(in);
        auto* param = in.Maybe(&settings.param);
        f.Check(6, 3, [&] { return TrueSenseToColor(source, destination, param, algorithm, in.Once(2)); });
    } else {
        f.Check(6, 3, [&] { return OrvTrueSense_ConvertImage(component, source, destination); });
    }
}

// Plain functions of one family: Rest is the algorithm or the settings, the algorithm and `oneShot`.
template <class From, class To, class... Rest>
void Members(Input& in, uint32_t (*const (&calls)[4])(From const*, _OrvRect, _OrvSize, int, int, To*, int,
                                                      unsigned char, Rest...)) {
    constexpr bool trueSense = sizeof...(Rest) > 1;
    const int member = in.Below(4);
    const int channels = trueSense || sizeof(From) != sizeof(To) ? 3 + member / 2 : 3;
    Pair pair(in, sizeof(From), channels, sizeof(To), trueSense);
    _OrvRect rect = {in.Number(), in.Number(), pair.target.width, pair.target.height};
    if (trueSense && (pair.size.huge || pair.from.Empty() || in.Once(2))) {
        rect.x = rect.y = 0;
    } else if (trueSense) {
        rect.x = in.Below(rect.width);
        rect.y = in.Below(rect.height);
        rect.width = in.Once(64) ? -9 : in.Below(1 + pair.size.width - rect.x);
        rect.height = in.Once(64) ? -9 : in.Below(1 + pair.size.height - rect.y);
        pair.to.width = rect.width;
        pair.to.rows = rect.height;
        pair.destination = in.Maybe(g_destination.Take(in, pair.to, false));
    }
    const int depth = Depth(in, 8 + 2 * in.Below(5));
    const int pattern = in.Below(in.Once(16) ? 256 : trueSense ? 16 : 4);
    const int algorithm = Algorithm(in);
    const auto call = [&](auto... rest) {
        return calls[member](reinterpret_cast<From*>(pair.source), rect, {pair.size.width, pair.size.height},
                             static_cast<int>(pair.from.stride), depth, reinterpret_cast<To*>(pair.destination),
                             static_cast<int>(pair.to.stride), static_cast<unsigned char>(pattern), rest...);
    };
    if constexpr (trueSense) {
        Settings settings(in);
        pair.Check(6, 3, [&] { return call(in.Maybe(&settings.param), algorithm, in.Once(2)); });
    } else {
        pair.Check(5, channels, [&] { return call(algorithm); });
    }
}

#define ORV_MEMBERS(Family, kind)                                                                 \
    {                                                                                             \
        Family##ToRGB_##kind##_C1C3R, Family##ToBGR_##kind##_C1C3R, Family##ToRGB_##kind##_C1C4R, \
            Family##ToBGR_##kind##_C1C4R                                                          \
    }

void Plain(Input& in) {
    switch (in.Below(6)) {
    case 0: return Members(in, ORV_MEMBERS(Bayer, 8u));
    case 1: return Members(in, ORV_MEMBERS(Bayer, 16u));
    case 2: return Members(in, ORV_MEMBERS(Bayer, 16u8u));
    case 3: return Members(in, ORV_MEMBERS(TrueSense, 8u));
    case 4: return Members(in, ORV_MEMBERS(TrueSense, 16u));
    default: return Members(in, ORV_MEMBERS(TrueSense, 16u8u));
    }
}

// Buffers of any size: the function is told it and tests it.
void Unpack(Input& in) {
    const int packing = in.Below(9) - 1;
    const Rows to = MakeRows(in, Size(in), 1, 2, false);
    const int64_t rowBytes = OrvPacking_RowBytes(packing, to.width);
    const int64_t stride = in.Once(16) ? in.Wild() : rowBytes + in.Below(9);
    const int64_t needed = rowBytes < 999 && std::llabs(stride) < 999 ? (to.rows - 1) * stride + rowBytes : 9;
    const int64_t bytes = std::clamp<int64_t>(needed + in.Below(5) - 2, 0, Arena::kBytes);
    const int64_t room = to.width > 99 || to.stride < 0 ? 9 : std::max<int64_t>(to.Bytes() + in.Below(5) - 2, 0);
    const uint8_t* source = in.Maybe(g_source.Take(in, bytes));
    auto* destination = reinterpret_cast<uint16_t*>(g_destination.Take(in, room, 2));
    const uint32_t status = OrvPacking_Unpack(packing, source, static_cast<size_t>(bytes), stride, to.width, to.rows,
                                              in.Maybe(destination), static_cast<size_t>(room), to.stride);
    g_destination.Check(to, status != 0, 2);
}

void Tight(Input& in) {
    const uint32_t word = Word(in, 0, 84);
    const Size size(in);
    const Rows rows = MakeRows(in, size, 1, SampleBytes(word), false);
    _OrvImage image = Record(in, word, rows, in.Maybe(g_source.Take(in, rows, size.huge)));
    const int algorithm = Algorithm(in);
    const int64_t needed = OrvFrame_TightBytes(in.Maybe(&image), algorithm);
    const int64_t bytes = std::clamp<int64_t>(needed + in.Below(3) - 1, 0, Arena::kBytes);
    OrvFrame_Tight(&image, algorithm, in.Maybe(g_scratch.Take(in, bytes)), static_cast<size_t>(bytes), &image);
    OrvFrame_Make(in.Maybe(&image), word, size.width, size.height, static_cast<int32_t>(rows.stride), nullptr);
}

void OtherRows(Input& in) {
    const int what = in.Below(4);
    const Size size(in);
    const Rows from = MakeRows(in, size, what > 1 ? 3 : 1, what == 2 ? 1 : 2, false);
    const Rows to = MakeRows(in, size, what > 1 ? 4 : 1, what % 2 + 1, false);
    const uint8_t* source = in.Maybe(g_source.Take(in, from, size.huge));
    uint8_t* bytes = in.Maybe(g_destination.Take(in, to, size.huge));
    const auto* fromWords = reinterpret_cast<const uint16_t*>(source);
    auto* words = reinterpret_cast<uint16_t*>(bytes);
    const int bits = Depth(in, 8 + 2 * in.Below(5));
    const uint32_t status =
        what == 0   ? OrvRows_To8(fromWords, from.stride, bytes, to.stride, size.width, size.height, bits)
        : what == 1 ? OrvRows_To16(fromWords, from.stride, words, to.stride, size.width, size.height, bits)
        : what == 2 ? OrvRows_AddAlpha8(source, from.stride, bytes, to.stride, size.width, size.height, 7)
                    : OrvRows_AddAlpha16(fromWords, from.stride, words, to.stride, size.width, size.height, 7);
    g_destination.Check(to, status != 0, to.pixelBytes);
}

void Words(Input& in) {
    const int number = in.Number();
    const int bits = Depth(in, 8);
    const uint32_t any = in.Any<uint32_t>();
    const uint32_t start = Word(in, 0, 96);
    const std::string text = in.Text();
    const char* name = in.Maybe(text.c_str());
    int packing = 0;
    bool edgeAware = false;
    for (const uint32_t word :
         {start, any, OrvWord_At(number), OrvWord_FromName(name, in.Maybe(&packing)), OrvPfnc_FromName(name),
          OrvWord_Bayer(number, bits), OrvWord_TrueSense(number, bits), OrvWord_Colour(true, number, bits),
          OrvOpenCv_ToWord(number, bits, true, &edgeAware), OrvPfnc_ToWord(any, &packing),
          OrvV4l2_ToWord(any, in.Maybe(&packing)), OrvWord_AfterCrop(start, in.Wild(), in.Wild()),
          OrvWord_AfterMirror(start, true, in.Once(2), in.Wild(), in.Wild())}) {
        const char* own = OrvWord_Name(word);
        Require(own == nullptr || OrvWord_FromName(own, nullptr) == word, "a word's name is another's");
        Require(OrvHelpers_StatusText(word) != nullptr, "no text for a status");
        Require(OrvWord_Grid(word) < 16 && OrvWord_Pattern(word) < 4, "no such cell");
        OrvWord_RowBytes(word, number, in.Wild());
        OrvWord_Site(word, in.Wild(), in.Wild());
        OrvPfnc_Name(OrvPfnc_FromWord(word, OrvPacking_FromName(name)));
        OrvOpenCv_Name(word, true, OrvOpenCv_FromWord(word, false, true) > static_cast<int>(OrvV4l2_FromWord(word, 0)));
        Require((OrvGst_Caps(word) == nullptr) == (OrvGst_Format(word) == nullptr), "caps without a format");
    }
    Require(OrvPacking_Bits(number) == 0 || OrvPacking_Name(number) != nullptr, "a packing without a name");
    OrvPacking_RowBytes(number, in.Wild());
    OrvParam_InfoAt(number % 8, number);
    OrvParam_Info(5 + in.Below(3), name);
}

void Parameters(Input& in, OrvComponent* component) {
    char known[64] = "";
    unsigned length = sizeof(known);
    OrvParam_Name(component, in.Below(72), known, &length);
    std::string other = in.Text();
    char* name = in.Maybe(in.Once(16) ? &other[0] : known);
    std::string text = in.Once(2) ? std::to_string(in.Real()) : in.Text();
    char* value = in.Maybe(&text[0]);
    const unsigned room = in.Any();
    char* buffer = in.Maybe(reinterpret_cast<char*>(g_scratch.Take(in, room)));
    unsigned* size = in.Maybe(&length);
    int64_t integer = 0;
    double real = 0;
    length = room;
    switch (in.Below(5)) {
    case 0: OrvParam_SetText(component, name, value); break;
    case 1: OrvParam_SetFloat(component, name, in.Real()); break;
    case 2: component->SetParamBool(name, in.Once(2)); break;
    default: OrvParam_SetInteger(component, name, in.Wild());
    }
    OrvParam_GetText(component, name, buffer, size);
    OrvParam_GetInteger(component, name, in.Maybe(&integer));
    OrvParam_GetFloat(component, name, in.Maybe(&real));
    component->SetParamString(name, value);
    component->SetParamArray(name, buffer, room);
    component->GetParamArray(name, buffer, size);
    length = room;
    component->GetParamAsString(name, buffer, size, value);
    length = room;
    component->GetParamName(in.Any<unsigned>(), buffer, size);
    component->RunCommand(name);
}

}  // namespace

// Memory that cannot be had is an answer to test, not the end.
extern "C" ORV_API const char* __asan_default_options();
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in(data, size);
    const std::unique_ptr<OrvBayer> bayer(OrvBayer_CreateComponent());
    const std::unique_ptr<OrvTrueSense> trueSense(OrvTrueSense_CreateComponent());
    for (int call = 0; call < 8 && !in.Empty(); ++call) {
        switch (in.Below(10)) {
        case 0: Tight(in); break;
        case 1: OtherRows(in); break;
        case 2: Words(in); break;
        case 3: Parameters(in, in.Once(4) ? bayer->GetComponent() : trueSense->GetComponent()); break;
        case 4: Unpack(in); break;
        case 5: BayerRecords(in, bayer.get()); break;
        case 6:
        case 7: TrueSenseRecords(in, trueSense.get()); break;
        default: Plain(in);
        }
    }
    return 0;
}
