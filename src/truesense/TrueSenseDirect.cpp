// The direct TrueSense functions. Each keeps engines of its own from call to call, so that a stream of frames through
// one function allocates as little as a component would.
#include <memory>

#include "OrvTrueSense.h"
#include "component/PixelTypes.h"
#include "truesense/Engines.h"
#include "truesense/Params.h"

namespace {

constexpr uint32_t kBadArgument = orv::StatusOf(orv::kFamilyTrueSense, orv::kCodeBadArgument);

enum class Channels { Three, Four };
enum class Order { Rgb, Bgr };

// The two members of IDemConvertion that take a frame from From to To.
inline int Start(IDemConvertion<unsigned char>& engine, unsigned char const* src, _OrvRect rect, _OrvSize size,
                 int srcStride, int bits, unsigned char* dst, int dstStride, unsigned char grid,
                 tagTrueSenseParam* param) {
    return engine.Init(src, rect, size, srcStride, bits, dst, dstStride, grid, param);
}
inline int Start(IDemConvertion<unsigned short>& engine, unsigned short const* src, _OrvRect rect, _OrvSize size,
                 int srcStride, int bits, unsigned short* dst, int dstStride, unsigned char grid,
                 tagTrueSenseParam* param) {
    return engine.Init(src, rect, size, srcStride, bits, dst, dstStride, grid, param);
}
inline int Start(IDemConvertion<unsigned short>& engine, unsigned short const* src, _OrvRect rect, _OrvSize size,
                 int srcStride, int bits, unsigned char* dst, int dstStride, unsigned char grid,
                 tagTrueSenseParam* param) {
    return engine.InitRGB(src, rect, size, srcStride, bits, dst, dstStride, grid, param);
}

// One function: its engines and the engine used last. Every set of arguments has statics of its own.
template <class From, class To, Channels channels, Order order>
class Direct {
    static constexpr bool kBytes = sizeof(From) == 1;
    using Engine = IDemConvertion<From>;

    // The engine of one algorithm, built at its first use.
    template <unsigned algorithm>
    static Engine& StaticEngine() {
        static const std::unique_ptr<Engine> s_dem(orv::kTrueSenseEngines.Find<From>(algorithm)->make());
        return *s_dem;
    }

    static IDemosaicing& HandleOf(Engine& engine) { return dynamic_cast<IDemosaicing&>(engine); }

public:
    static uint32_t Convert(From const* src, _OrvRect rect, _OrvSize size, int srcStride, int bits, To* dst,
                            int dstStride, unsigned char grid, tagTrueSenseParam* param, int algorithm, bool oneShot) {
        if (kBytes && param != nullptr) {
            param->normalizationEnable = 0;
        }
        const orv::EngineClass<From>* engineClass = orv::kTrueSenseEngines.Find<From>(algorithm);
        if (engineClass == nullptr) {
            return kBadArgument;
        }
        static constexpr Engine& (*kStaticEngines[orv::kAlgorithmCount])() = {
            StaticEngine<0>, StaticEngine<1>, StaticEngine<2>, StaticEngine<3>, StaticEngine<4>};
        static IDemosaicing* obj = nullptr;
        Engine* engine = &kStaticEngines[algorithm]();
        IDemosaicing& handle = HandleOf(*engine);
        if (obj != nullptr && !obj->IsThis(&handle)) {
            obj->CleanMemory();
        }
        obj = &handle;
        std::unique_ptr<Engine> own;
        if (oneShot) {
            handle.CleanMemory();
            own.reset(engineClass->make());
            engine = own.get();
        }
        engine->SetOutputPixelType(channels == Channels::Four, order == Order::Bgr);
        const int depth = kBytes && algorithm == 0 ? 8 : bits;
        int code = Start(*engine, src, rect, size, srcStride, depth, dst, dstStride, grid, param);
        if (code == orv::kCodeOk) {
            code = sizeof(From) == sizeof(To) ? engine->Calculate() : engine->CalculateRGB();
        }
        if (!oneShot && code == orv::kCodeNoMemory) {
            handle.CleanMemory();
        }
        return orv::StatusOf(orv::kFamilyTrueSense, code);
    }
};

}  // namespace

extern "C" {

#define ORV_TRUESENSE_FUNCTION(Name, From, To, channels, order)                                                   \
    uint32_t Name(From const* src, _OrvRect rect, _OrvSize size, int srcStride, int bits, To* dst, int dstStride, \
                  unsigned char grid, tagTrueSenseParam* param, int algorithm, bool oneShot) {                    \
        return Direct<From, To, Channels::channels, Order::order>::Convert(                                       \
            src, rect, size, srcStride, bits, dst, dstStride, grid, param, algorithm, oneShot);                   \
    }
#define ORV_TRUESENSE_FUNCTIONS(Suffix, From, To)                                 \
    ORV_TRUESENSE_FUNCTION(TrueSenseToRGB_##Suffix##_C1C3R, From, To, Three, Rgb) \
    ORV_TRUESENSE_FUNCTION(TrueSenseToBGR_##Suffix##_C1C3R, From, To, Three, Bgr) \
    ORV_TRUESENSE_FUNCTION(TrueSenseToRGB_##Suffix##_C1C4R, From, To, Four, Rgb)  \
    ORV_TRUESENSE_FUNCTION(TrueSenseToBGR_##Suffix##_C1C4R, From, To, Four, Bgr)

ORV_TRUESENSE_FUNCTIONS(8u, unsigned char, unsigned char)
ORV_TRUESENSE_FUNCTIONS(16u, unsigned short, unsigned short)
ORV_TRUESENSE_FUNCTIONS(16u8u, unsigned short, unsigned char)

uint32_t TrueSenseToColor(_OrvImage const* source, _OrvImage* destination, tagTrueSenseParam* param, int algorithm,
                          bool oneShot) {
    if (source == nullptr || destination == nullptr) {
        return kBadArgument;
    }
    const int grid = PixelTypeToTruesenseGrid(source->pixelType);
    const orv::OutputLayout layout = orv::OutputLayoutOf(destination->pixelType);
    const bool byteSource = orv::HasByteSamples(source->pixelType);
    if (grid == orv::kNoTrueSenseGrid || !layout.known || (byteSource && !layout.bytes)) {
        return kBadArgument;
    }
    const _OrvRect rect = {0, 0, source->width, source->height};
    const _OrvSize size = {source->width, source->height};
    const auto convert = [&](auto* src, auto* dst, auto rgb, auto bgr, auto rgba, auto bgra) {
        const auto member = layout.alpha ? (layout.bgr ? bgra : rgba) : (layout.bgr ? bgr : rgb);
        return member(src, rect, size, source->stride, source->bitDepth, dst, destination->stride,
                      static_cast<unsigned char>(grid), param, algorithm, oneShot);
    };
    auto* words = static_cast<unsigned short*>(source->data);
    auto* bytes = static_cast<unsigned char*>(destination->data);
    if (byteSource) {
        return convert(static_cast<unsigned char*>(source->data), bytes, TrueSenseToRGB_8u_C1C3R,
                       TrueSenseToBGR_8u_C1C3R, TrueSenseToRGB_8u_C1C4R, TrueSenseToBGR_8u_C1C4R);
    }
    if (layout.bytes) {
        return convert(words, bytes, TrueSenseToRGB_16u8u_C1C3R, TrueSenseToBGR_16u8u_C1C3R, TrueSenseToRGB_16u8u_C1C4R,
                       TrueSenseToBGR_16u8u_C1C4R);
    }
    // No word asks for four channels of 16 bits.
    return convert(words, static_cast<unsigned short*>(destination->data), TrueSenseToRGB_16u_C1C3R,
                   TrueSenseToBGR_16u_C1C3R, TrueSenseToRGB_16u_C1C4R, TrueSenseToBGR_16u_C1C4R);
}

}  // extern "C"
