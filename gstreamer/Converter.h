// Frames of a mosaic to the pictures of a video stream.
#ifndef ORV_GSTREAMER_CONVERTER_H
#define ORV_GSTREAMER_CONVERTER_H

#include <OrvBayer.h>
#include <OrvTrueSense.h>

#include <memory>
#include <string>
#include <vector>

namespace orvgst {

enum class Mosaic { Bayer, TrueSense };

struct Settings {
    Mosaic mosaic = Mosaic::Bayer;
    int algorithm = 0;       // `BayerAlgType`, `TrueSenseAlgType`
    int threads = 0;         // `threads_num`, TrueSense only
    int grid = 0;            // 0 to 15, TrueSense only
    int bits = 12;           // of the samples of GRAY16_LE: 10, 12 or 14
    std::string parameters;  // "name=value,name=value"
};

// Pixels of the size of their source: 3 or 4 channels of 8 bits, or 4 of 16, red first. A fourth channel becomes
// opaque.
struct Picture {
    bool blueFirst = false;
    int channels = 3;
    int bits = 8;
    int stride = 0;  // bytes, above 0
    void* data = nullptr;
};

// Converts frames of one stream; none depends on those before it. Memory stays from frame to frame. Failures are
// std::exception, whose text names cause and remedy; the next call may do better.
class Converter {
public:
    // Takes effect with the next frame. Parameters not named have their defaults.
    void Configure(const Settings& settings);

    // `source` as OrvFrame_Tight takes it, of the settings' mosaic, its stride not 0. Pictures of 16 bits have the full
    // range, and are made of deeper sources only.
    void Convert(const _OrvImage& source, const Picture& picture);

private:
    using Bayer = std::unique_ptr<OrvBayer, void (*)(OrvBayer*)>;
    using TrueSense = std::unique_ptr<OrvTrueSense, void (*)(OrvTrueSense*)>;

    void ConvertByThreeChannels(const _OrvImage& source, const Picture& picture);
    void ConvertTo(const _OrvImage& source, const _OrvImage& destination);
    void ConvertBayer(const _OrvImage& source, const _OrvImage& destination);
    void ConvertTrueSense(const _OrvImage& source, _OrvImage destination);

    Settings settings_;
    Bayer bayer_{nullptr, OrvBayer_DeleteComponent};
    TrueSense trueSense_{nullptr, OrvTrueSense_DeleteComponent};
    _OrvSize lastSize_ = {0, 0};
    std::vector<unsigned char> scratch_;
    std::vector<uint16_t> threeChannels_;
};

}  // namespace orvgst

#endif
