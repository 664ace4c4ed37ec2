#include "Converter.h"

#include <OrvHelpers.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace orvgst {
namespace {

constexpr int kAdaptive = 1;   // `BayerAlgType`
constexpr int kEdgeAware = 2;  // the last one
constexpr int kReference = 4;  // `TrueSenseAlgType`
constexpr int kBandRows = 32;
constexpr int kHalo = 2;  // rows above and below a band, even for the pattern; the outermost ones are those of borders
constexpr uint8_t kOpaque8 = 255;
constexpr uint16_t kOpaque16 = 65535;

void Check(const std::string& action, uint32_t status) {
    if (status != 0) {
        char number[16];
        std::snprintf(number, sizeof(number), "0x%08X", status);
        throw std::runtime_error(action + ": " + number + ", " + OrvStatusText(status));
    }
}

std::string Trimmed(const std::string& text) {
    const size_t first = text.find_first_not_of(" \t\n");
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(" \t\n") - first + 1);
}

void SetParameter(OrvComponent* component, const std::string& assignment) {
    const size_t equals = assignment.find('=');
    if (equals == std::string::npos) {
        throw std::runtime_error("parameters: '" + assignment + "' is no name=value");
    }
    const std::string name = Trimmed(assignment.substr(0, equals));
    if (name == "BayerAlgType" || name == "TrueSenseAlgType" || name == "threads_num") {
        throw std::runtime_error("parameters: for " + name + " set the property " +
                                 (name == "threads_num" ? "threads" : "algorithm"));
    }
    const uint32_t status = OrvParam_SetText(component, name.c_str(), Trimmed(assignment.substr(equals + 1)).c_str());
    if (status != 0) {
        const OrvParamInfo* info = OrvParam_Info(OrvParam_Family(component), name.c_str());
        throw std::runtime_error("parameters: '" + assignment + "': " + OrvStatusText(status) +
                                 (info == nullptr ? "; docs/parameters.md lists those of each mosaic"
                                                  : std::string("; it takes ") + info->range));
    }
}

void SetParameters(OrvComponent* component, const std::string& list) {
    for (size_t begin = 0; begin < list.size();) {
        const size_t end = std::min(list.find(',', begin), list.size());
        const std::string assignment = Trimmed(list.substr(begin, end - begin));
        if (!assignment.empty()) {
            SetParameter(component, assignment);
        }
        begin = end + 1;
    }
}

_OrvImage Record(uint32_t word, const _OrvImage& source, int stride, void* pixels) {
    _OrvImage record;
    Check("a picture of " + std::to_string(source.width) + " by " + std::to_string(source.height) + " pixels",
          OrvFrame_Make(&record, word, source.width, source.height, stride, pixels));
    return record;
}

}  // namespace

void Converter::Configure(const Settings& settings) {
    const bool isBayer = settings.mosaic == Mosaic::Bayer;
    if (isBayer && settings.algorithm > kEdgeAware) {
        throw std::runtime_error("algorithm=" + std::to_string(settings.algorithm) +
                                 " is one of TrueSense: for Bayer frames set 0 (bilinear), 1 (adaptive) or 2 "
                                 "(edge-aware)");
    }
    // A fresh component has the defaults.
    Bayer bayer(isBayer ? OrvBayer_CreateComponent() : nullptr, OrvBayer_DeleteComponent);
    TrueSense trueSense(isBayer ? nullptr : OrvTrueSense_CreateComponent(), OrvTrueSense_DeleteComponent);
    OrvComponent* component = isBayer ? OrvBayer_GetComponent(bayer.get()) : OrvTrueSense_GetComponent(trueSense.get());
    SetParameters(component, settings.parameters);
    Check("algorithm",
          OrvParam_SetInteger(component, isBayer ? "BayerAlgType" : "TrueSenseAlgType", settings.algorithm));
    if (!isBayer) {
        Check("threads", OrvParam_SetInteger(component, "threads_num", settings.threads));
    }
    settings_ = settings;
    bayer_ = std::move(bayer);
    trueSense_ = std::move(trueSense);
}

void Converter::Convert(const _OrvImage& source, const Picture& picture) {
    const bool isBayer = settings_.mosaic == Mosaic::Bayer;
    const bool wide = picture.bits > 8;
    if (picture.channels == 4 && (isBayer || wide)) {
        ConvertByThreeChannels(source, picture);
        return;
    }
    const uint32_t word = OrvWord_Colour(picture.blueFirst, picture.channels, picture.bits);
    ConvertTo(source, Record(word, source, picture.stride, picture.data));
}

// In bands that stay in cache where the algorithm reads a row up and down.
void Converter::ConvertByThreeChannels(const _OrvImage& source, const Picture& picture) {
    const bool isBayer = settings_.mosaic == Mosaic::Bayer;
    const bool wide = picture.bits > 8;
    const uint32_t word = OrvWord_Colour(picture.blueFirst, 3, wide && !isBayer ? source.bitDepth : picture.bits);
    const int rows = isBayer && settings_.algorithm != kAdaptive ? kBandRows : source.height;
    const int64_t rowBytes = OrvWord_RowBytes(word, OrvPackingNone, source.width);
    threeChannels_.resize(static_cast<size_t>(rowBytes * std::min(rows + 2 * kHalo, source.height) + 1) / 2);
    for (int first = 0; first < source.height; first += rows) {
        const int count = std::min(rows, source.height - first);
        const int top = std::max(first - kHalo, 0);
        _OrvImage band = source;
        band.height = std::min(first + count + kHalo, source.height) - top;
        band.data = static_cast<unsigned char*>(source.data) + int64_t{top} * source.stride;
        ConvertTo(band, Record(word, band, 0, threeChannels_.data()));
        const unsigned char* from = reinterpret_cast<unsigned char*>(threeChannels_.data()) + (first - top) * rowBytes;
        unsigned char* to = static_cast<unsigned char*>(picture.data) + int64_t{first} * picture.stride;
        Check("alpha",
              wide ? OrvRows_AddAlpha16(reinterpret_cast<const uint16_t*>(from), rowBytes,
                                        reinterpret_cast<uint16_t*>(to), picture.stride, source.width, count, kOpaque16)
                   : OrvRows_AddAlpha8(from, rowBytes, to, picture.stride, source.width, count, kOpaque8));
    }
}

void Converter::ConvertTo(const _OrvImage& source, const _OrvImage& destination) {
    if (settings_.mosaic == Mosaic::Bayer) {
        ConvertBayer(source, destination);
    } else {
        ConvertTrueSense(source, destination);
    }
}

void Converter::ConvertBayer(const _OrvImage& source, const _OrvImage& destination) {
    // The adaptive engine has planes of one size, and above 8 bits would let one frame show in the next.
    if (settings_.algorithm == kAdaptive &&
        (source.width != lastSize_.width || source.height != lastSize_.height || source.bitDepth > 8)) {
        OrvBayer_ReleaseData(bayer_.get());
    }
    lastSize_ = {source.width, source.height};
    const int64_t bytes = OrvFrame_ConvertBayerBytes(&source, &destination, settings_.algorithm);
    scratch_.resize(static_cast<size_t>(std::max<int64_t>(bytes, 0)));
    Check("Bayer conversion",
          OrvFrame_ConvertBayer(bayer_.get(), &source, &destination, scratch_.data(), scratch_.size()));
}

void Converter::ConvertTrueSense(const _OrvImage& source, _OrvImage destination) {
    const int channels = OrvWord_Channels(destination.pixelType);
    const bool toBytes = OrvWord_Bits(destination.pixelType) == 8;
    if (settings_.algorithm == kReference && source.bitDepth == 10 && toBytes) {
        throw std::runtime_error(
            "algorithm=4 makes no 8-bit pictures of 10-bit frames: take RGBA64_LE, or algorithm=3");
    }
    const int64_t bytes = OrvFrame_TightBytes(&source, settings_.algorithm);
    scratch_.resize(static_cast<size_t>(std::max<int64_t>(bytes, 0)));
    _OrvImage tight;
    Check("rows of the frame", OrvFrame_Tight(&source, settings_.algorithm, scratch_.data(), scratch_.size(), &tight));
    if (channels == 4) {
        // Conversions leave the fourth channel as it is.
        for (int y = 0; y < destination.height; ++y) {
            std::memset(static_cast<unsigned char*>(destination.data) + int64_t{y} * destination.stride, kOpaque8,
                        size_t{4} * static_cast<size_t>(destination.width));
        }
    }
    Check("TrueSense conversion", OrvTrueSense_ConvertImage(trueSense_.get(), &tight, &destination));
    int64_t spread = 0;
    Check("normalizationEnable",
          OrvParam_GetInteger(OrvTrueSense_GetComponent(trueSense_.get()), "normalizationEnable", &spread));
    if (!toBytes && spread == 0) {
        auto* samples = static_cast<uint16_t*>(destination.data);
        Check("depth", OrvRows_To16(samples, destination.stride, samples, destination.stride,
                                    int64_t{channels} * destination.width, destination.height, source.bitDepth));
    }
}

}  // namespace orvgst
