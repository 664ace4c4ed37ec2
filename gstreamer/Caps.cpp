#include "Caps.h"

#include <OrvHelpers.h>

#include <string>
#include <vector>

namespace orvgst {
namespace {

constexpr const char* kBayer = "video/x-bayer";
constexpr const char* kRaw = "video/x-raw";
constexpr const char* kGray8 = "GRAY8";
constexpr const char* kGray16 = "GRAY16_LE";

using Formats = std::vector<const char*>;

Caps Of(const char* media, const Formats& formats) {
    GValue list = G_VALUE_INIT;
    g_value_init(&list, GST_TYPE_LIST);
    for (const char* format : formats) {
        GValue value = G_VALUE_INIT;
        g_value_init(&value, G_TYPE_STRING);
        g_value_set_static_string(&value, format);
        gst_value_list_append_and_take_value(&list, &value);
    }
    Caps caps(gst_caps_new_simple(media, "width", GST_TYPE_INT_RANGE, 1, G_MAXINT, "height", GST_TYPE_INT_RANGE, 1,
                                  G_MAXINT, "framerate", GST_TYPE_FRACTION_RANGE, 0, 1, G_MAXINT, 1, nullptr));
    gst_caps_set_value(caps.get(), "format", &list);
    g_value_unset(&list);
    return caps;
}

// Sources of 8 bits, or the deeper ones.
Caps Sources(Mosaic mosaic, bool deep) {
    if (mosaic == Mosaic::TrueSense) {
        return Of(kRaw, {deep ? kGray16 : kGray8});
    }
    Formats formats;
    for (int i = 0; i < OrvWord_Count(); ++i) {
        const uint32_t word = OrvWord_At(i);
        if (OrvWord_Pattern(word) >= 0 && (OrvWord_Bits(word) > 8) == deep) {
            formats.push_back(OrvGst_Format(word));
        }
    }
    return Of(kBayer, formats);
}

Caps Pictures(bool deep) {
    Formats formats = {"RGB", "BGR", "RGBx", "BGRx", "RGBA", "BGRA"};
    if (deep) {
        formats.push_back("RGBA64_LE");
    }
    return Of(kRaw, formats);
}

// `to`, with what `given` says of size and rate, for each structure of it that `from` allows.
void AppendAcross(const GstCaps* given, const Caps& from, const Caps& to, Caps* across) {
    const GstStructure* allowed = gst_caps_get_structure(from.get(), 0);
    for (guint i = 0; i < gst_caps_get_size(given); ++i) {
        const GstStructure* structure = gst_caps_get_structure(given, i);
        if (!gst_structure_can_intersect(structure, allowed)) {
            continue;
        }
        GstStructure* other = gst_structure_copy(gst_caps_get_structure(to.get(), 0));
        for (const char* field : {"width", "height", "framerate", "pixel-aspect-ratio"}) {
            if (const GValue* value = gst_structure_get_value(structure, field)) {
                gst_structure_set_value(other, field, value);
            }
        }
        across->reset(gst_caps_merge_structure(across->release(), other));
    }
}

}  // namespace

Caps AllSources() {
    Caps all(gst_caps_new_empty());
    for (const Mosaic mosaic : {Mosaic::Bayer, Mosaic::TrueSense}) {
        for (const bool deep : {false, true}) {
            all.reset(gst_caps_merge(all.release(), Sources(mosaic, deep).release()));
        }
    }
    return Caps(gst_caps_simplify(all.release()));
}

Caps AllPictures() { return Pictures(true); }

Caps PicturesOf(const GstCaps* sources) {
    Caps pictures(gst_caps_new_empty());
    for (const Mosaic mosaic : {Mosaic::Bayer, Mosaic::TrueSense}) {
        for (const bool deep : {true, false}) {
            AppendAcross(sources, Sources(mosaic, deep), Pictures(deep), &pictures);
        }
    }
    return pictures;
}

Caps SourcesOf(const GstCaps* pictures, Mosaic mosaic) {
    Caps sources(gst_caps_new_empty());
    for (const bool deep : {false, true}) {
        AppendAcross(pictures, Pictures(deep), Sources(mosaic, deep), &sources);
    }
    return sources;
}

uint32_t SourceWord(const GstCaps* source, const Settings& settings) {
    const GstStructure* structure = gst_caps_get_structure(source, 0);
    const char* format = gst_structure_get_string(structure, "format");
    if (format == nullptr || gst_structure_has_name(structure, kBayer) != (settings.mosaic == Mosaic::Bayer)) {
        return 0;
    }
    if (settings.mosaic == Mosaic::Bayer) {
        return OrvWord_FromName(format, nullptr);
    }
    return OrvWord_TrueSense(settings.grid, std::string(format) == kGray8 ? 8 : settings.bits);
}

}  // namespace orvgst
