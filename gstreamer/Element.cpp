#include "Element.h"

#include <OrvHelpers.h>
#include <gst/base/gstbasetransform.h>
#include <gst/video/video.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>

#include "Caps.h"
#include "Converter.h"

using namespace orvgst;

namespace {

constexpr int kTrueSenseAlgorithms = 5;

struct Stream {
    Settings settings;  // under the object's lock
    bool changed = true;
    Caps sourceCaps;
    GstVideoInfo picture = {};
    Converter converter;
};

}  // namespace

struct OrvDemosaic {
    GstBaseTransform parent;
    Stream* stream;
};
struct OrvDemosaicClass {
    GstBaseTransformClass parent;
};
G_DEFINE_TYPE(OrvDemosaic, orv_demosaic, GST_TYPE_BASE_TRANSFORM)

namespace {

OrvDemosaic* Self(gpointer object) { return reinterpret_cast<OrvDemosaic*>(object); }
Stream& StreamOf(gpointer object) { return *Self(object)->stream; }

// ---- Properties -----------------------------------------------------------------------------------------------------

enum Property : guint { kMosaic = 1, kAlgorithm, kThreads, kGrid, kBits, kParameters };

GType MosaicType() {
    static const GEnumValue values[] = {
        {static_cast<int>(Mosaic::Bayer), "video/x-bayer, whose format tells the pattern", "bayer"},
        {static_cast<int>(Mosaic::TrueSense), "half of the sites panchromatic, in GRAY8 or GRAY16_LE", "truesense"},
        {0, nullptr, nullptr}};
    static const GType type = g_enum_register_static("OrvDemosaicMosaic", values);
    return type;
}

GType BitsType() {
    static const GEnumValue values[] = {
        {10, "0 to 1023", "10"}, {12, "0 to 4095", "12"}, {14, "0 to 16383", "14"}, {0, nullptr, nullptr}};
    static const GType type = g_enum_register_static("OrvDemosaicBits", values);
    return type;
}

void SetProperty(GObject* object, guint id, const GValue* value, GParamSpec* property) {
    Stream& stream = StreamOf(object);
    GST_OBJECT_LOCK(object);
    Settings& settings = stream.settings;
    switch (id) {
    case kMosaic: settings.mosaic = static_cast<Mosaic>(g_value_get_enum(value)); break;
    case kAlgorithm: settings.algorithm = g_value_get_int(value); break;
    case kThreads: settings.threads = g_value_get_int(value); break;
    case kGrid: settings.grid = g_value_get_int(value); break;
    case kBits: settings.bits = g_value_get_enum(value); break;
    case kParameters: {
        const char* text = g_value_get_string(value);
        settings.parameters = text == nullptr ? "" : text;
        break;
    }
    default: G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, property);
    }
    stream.changed = true;
    GST_OBJECT_UNLOCK(object);
}

void GetProperty(GObject* object, guint id, GValue* value, GParamSpec* property) {
    GST_OBJECT_LOCK(object);
    const Settings& settings = StreamOf(object).settings;
    switch (id) {
    case kMosaic: g_value_set_enum(value, static_cast<int>(settings.mosaic)); break;
    case kAlgorithm: g_value_set_int(value, settings.algorithm); break;
    case kThreads: g_value_set_int(value, settings.threads); break;
    case kGrid: g_value_set_int(value, settings.grid); break;
    case kBits: g_value_set_enum(value, settings.bits); break;
    case kParameters: g_value_set_string(value, settings.parameters.c_str()); break;
    default: G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, property);
    }
    GST_OBJECT_UNLOCK(object);
}

Settings SettingsOf(gpointer object) {
    GST_OBJECT_LOCK(object);
    Settings settings = StreamOf(object).settings;
    GST_OBJECT_UNLOCK(object);
    return settings;
}

// ---- Caps -----------------------------------------------------------------------------------------------------------

GstCaps* TransformCaps(GstBaseTransform* transform, GstPadDirection direction, GstCaps* caps, GstCaps* filter) {
    const auto filtered = [filter](Caps all) {
        return filter == nullptr ? std::move(all)
                                 : Caps(gst_caps_intersect_full(filter, all.get(), GST_CAPS_INTERSECT_FIRST));
    };
    if (direction == GST_PAD_SINK) {
        return filtered(PicturesOf(caps)).release();
    }
    // The other mosaic only where there is nothing else: its first frame fails with a message that says what to do,
    // where caps that do not link say nothing.
    const bool bayer = SettingsOf(transform).mosaic == Mosaic::Bayer;
    Caps wanted = SourcesOf(caps, bayer ? Mosaic::Bayer : Mosaic::TrueSense);
    Caps other = SourcesOf(caps, bayer ? Mosaic::TrueSense : Mosaic::Bayer);
    if (filter != nullptr && gst_caps_can_intersect(filter, wanted.get())) {
        return filtered(std::move(wanted)).release();
    }
    return filtered(Caps(gst_caps_merge(wanted.release(), other.release()))).release();
}

gboolean SetCaps(GstBaseTransform* transform, GstCaps* source, GstCaps* picture) {
    Stream& stream = StreamOf(transform);
    stream.sourceCaps.reset(gst_caps_ref(source));
    return gst_video_info_from_caps(&stream.picture, picture);
}

gboolean TransformSize(GstBaseTransform* transform, GstPadDirection direction, GstCaps*, gsize, GstCaps*,
                       gsize* otherSize) {
    // Frames come with any padding; pictures have what their caps say.
    *otherSize = GST_VIDEO_INFO_SIZE(&StreamOf(transform).picture);
    return direction == GST_PAD_SINK;
}

// ---- Memory ---------------------------------------------------------------------------------------------------------

gboolean ProposeAllocation(GstBaseTransform* transform, GstQuery* decided, GstQuery* query) {
    gst_query_add_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr);
    return GST_BASE_TRANSFORM_CLASS(orv_demosaic_parent_class)->propose_allocation(transform, decided, query);
}

// Pictures come from a pool also where nothing downstream has one: fresh pages would cost as much as a conversion.
gboolean DecideAllocation(GstBaseTransform* transform, GstQuery* query) {
    GstCaps* caps = nullptr;
    gst_query_parse_allocation(query, &caps, nullptr);
    GstBufferPool* pool = nullptr;
    guint size = 0;
    guint least = 0;
    guint most = 0;
    const bool offered = gst_query_get_n_allocation_pools(query) > 0;
    if (offered) {
        gst_query_parse_nth_allocation_pool(query, 0, &pool, &size, &least, &most);
    }
    if (pool == nullptr) {
        pool = gst_video_buffer_pool_new();
    }
    size = std::max(size, static_cast<guint>(GST_VIDEO_INFO_SIZE(&StreamOf(transform).picture)));
    GstStructure* config = gst_buffer_pool_get_config(pool);
    gst_buffer_pool_config_set_params(config, caps, size, least, most);
    if (gst_query_find_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr)) {
        gst_buffer_pool_config_add_option(config, GST_BUFFER_POOL_OPTION_VIDEO_META);
    }
    gst_buffer_pool_set_config(pool, config);
    if (offered) {
        gst_query_set_nth_allocation_pool(query, 0, pool, size, least, most);
    } else {
        gst_query_add_allocation_pool(query, pool, size, least, most);
    }
    gst_object_unref(pool);
    return GST_BASE_TRANSFORM_CLASS(orv_demosaic_parent_class)->decide_allocation(transform, query);
}

// What others attached stays true of the picture if it speaks of positions and sizes only.
gboolean TransformMeta(GstBaseTransform*, GstBuffer*, GstMeta* meta, GstBuffer*) {
    const gchar* const kept[] = {GST_META_TAG_VIDEO_STR, GST_META_TAG_VIDEO_SIZE_STR,
                                 GST_META_TAG_VIDEO_ORIENTATION_STR, nullptr};
    for (const gchar* const* tag = gst_meta_api_type_get_tags(meta->info->api); tag != nullptr && *tag; ++tag) {
        if (!g_strv_contains(kept, *tag)) {
            return FALSE;
        }
    }
    return TRUE;
}

// ---- Frames ---------------------------------------------------------------------------------------------------------

class MappedBuffer {
public:
    explicit MappedBuffer(GstBuffer* buffer) : buffer_(buffer) {
        if (!gst_buffer_map(buffer, &map_, GST_MAP_READ)) {
            throw std::runtime_error("the frame's memory cannot be read: it must be mappable by the processor");
        }
    }
    ~MappedBuffer() { gst_buffer_unmap(buffer_, &map_); }
    MappedBuffer(const MappedBuffer&) = delete;
    MappedBuffer& operator=(const MappedBuffer&) = delete;
    unsigned char* Data() const { return map_.data; }
    int64_t Bytes() const { return static_cast<int64_t>(map_.size); }

private:
    GstBuffer* buffer_;
    GstMapInfo map_ = {};
};

class MappedPicture {
public:
    MappedPicture(const GstVideoInfo& info, GstBuffer* buffer) {
        if (!gst_video_frame_map(&frame_, &info, buffer, GST_MAP_WRITE)) {
            throw std::runtime_error("the picture's memory cannot be written, or is too small for its caps");
        }
    }
    ~MappedPicture() { gst_video_frame_unmap(&frame_); }
    MappedPicture(const MappedPicture&) = delete;
    MappedPicture& operator=(const MappedPicture&) = delete;

    Picture Pixels() const {
        Picture picture;
        picture.bits = GST_VIDEO_FRAME_COMP_DEPTH(&frame_, 0);
        picture.channels = GST_VIDEO_FRAME_COMP_PSTRIDE(&frame_, 0) * 8 / picture.bits;
        picture.blueFirst = GST_VIDEO_FRAME_COMP_POFFSET(&frame_, GST_VIDEO_COMP_B) == 0;
        picture.stride = GST_VIDEO_FRAME_PLANE_STRIDE(&frame_, 0);
        picture.data = GST_VIDEO_FRAME_PLANE_DATA(&frame_, 0);
        return picture;
    }

private:
    GstVideoFrame frame_ = {};
};

// Where the rows of a frame lie in its buffer, bytes.
struct Rows {
    int64_t offset = 0;
    int64_t stride = 0;
};

Rows RowsOf(GstBuffer* buffer, int64_t bytes, int64_t rowBytes, int height) {
    const GstVideoMeta* meta = gst_buffer_get_video_meta(buffer);
    Rows rows;
    if (meta != nullptr && meta->n_planes == 1) {
        rows = {static_cast<int64_t>(meta->offset[0]), meta->stride[0]};
    } else if (bytes % height == 0) {
        rows.stride = bytes / height;
    } else {
        // Something follows the last row: rows are padded as those of raw video, or not at all.
        const int64_t padded = (rowBytes + 3) / 4 * 4;
        rows.stride = padded * height <= bytes ? padded : rowBytes;
    }
    const int64_t last = rows.offset + (height - 1) * rows.stride;
    if (std::abs(rows.stride) < rowBytes || std::min(rows.offset, last) < 0 ||
        std::max(rows.offset, last) + rowBytes > bytes) {
        throw std::runtime_error("the buffer has " + std::to_string(bytes) + " bytes for " + std::to_string(height) +
                                 " rows of " + std::to_string(rowBytes) + ", " + std::to_string(rows.stride) +
                                 " apart: the caps' size or format, or the video meta, is not that of the frames");
    }
    return rows;
}

void ConvertFrame(Stream* stream, const Settings& settings, GstBuffer* in, GstBuffer* out) {
    const uint32_t word = SourceWord(stream->sourceCaps.get(), settings);
    if (word == 0) {
        throw std::runtime_error(settings.mosaic == Mosaic::Bayer
                                     ? "the frames are grey, and a Bayer mosaic comes as video/x-bayer: for a "
                                       "TrueSense mosaic set mosaic=truesense"
                                     : "mosaic=truesense takes GRAY8 and GRAY16_LE: for video/x-bayer set "
                                       "mosaic=bayer");
    }
    const int width = GST_VIDEO_INFO_WIDTH(&stream->picture);
    const int height = GST_VIDEO_INFO_HEIGHT(&stream->picture);
    const MappedBuffer frame(in);
    const Rows rows = RowsOf(in, frame.Bytes(), OrvWord_RowBytes(word, OrvPackingNone, width), height);
    _OrvImage source;
    if (OrvFrame_Make(&source, word, width, height, 0, frame.Data() + rows.offset) != 0) {
        throw std::runtime_error("frames of " + std::to_string(width) + " by " + std::to_string(height) +
                                 " pixels: their bytes must stay below 2^31");
    }
    source.stride = static_cast<int32_t>(rows.stride);
    const MappedPicture picture(stream->picture, out);
    stream->converter.Convert(source, picture.Pixels());
}

GstFlowReturn Transform(GstBaseTransform* transform, GstBuffer* in, GstBuffer* out) {
    Stream& stream = StreamOf(transform);
    GST_OBJECT_LOCK(transform);
    const Settings settings = stream.settings;
    const bool changed = std::exchange(stream.changed, false);
    GST_OBJECT_UNLOCK(transform);
    try {
        if (changed) {
            stream.converter.Configure(settings);
        }
    } catch (const std::exception& error) {
        GST_OBJECT_LOCK(transform);
        stream.changed = true;
        GST_OBJECT_UNLOCK(transform);
        GST_ELEMENT_ERROR(transform, LIBRARY, SETTINGS, ("%s", error.what()), (nullptr));
        return GST_FLOW_ERROR;
    }
    try {
        ConvertFrame(&stream, settings, in, out);
    } catch (const std::exception& error) {
        GST_ELEMENT_ERROR(transform, STREAM, FAILED, ("%s", error.what()),
                          ("caps %" GST_PTR_FORMAT, static_cast<void*>(stream.sourceCaps.get())));
        return GST_FLOW_ERROR;
    }
    return GST_FLOW_OK;
}

gboolean Stop(GstBaseTransform* transform) {
    // Ends the component with its planes.
    Stream& stream = StreamOf(transform);
    stream.converter = Converter();
    GST_OBJECT_LOCK(transform);
    stream.changed = true;
    GST_OBJECT_UNLOCK(transform);
    return TRUE;
}

void Finalize(GObject* object) {
    delete Self(object)->stream;
    G_OBJECT_CLASS(orv_demosaic_parent_class)->finalize(object);
}

}  // namespace

static void orv_demosaic_init(OrvDemosaic* self) { self->stream = new Stream; }

static void orv_demosaic_class_init(OrvDemosaicClass* type) {
    GObjectClass* object = G_OBJECT_CLASS(type);
    object->set_property = SetProperty;
    object->get_property = GetProperty;
    object->finalize = Finalize;

    const Settings standard;
    const auto flags = static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS);
    const auto ready = static_cast<GParamFlags>(flags | GST_PARAM_MUTABLE_READY);
    const auto playing = static_cast<GParamFlags>(flags | GST_PARAM_MUTABLE_PLAYING);
    const int threads = static_cast<int>(OrvParam_Info(OrvFamilyTrueSense, "threads_num")->integerLimit);
    g_object_class_install_property(object, kMosaic,
                                    g_param_spec_enum("mosaic", "Mosaic", "Mosaic of the frames", MosaicType(),
                                                      static_cast<int>(standard.mosaic), ready));
    g_object_class_install_property(
        object, kAlgorithm,
        g_param_spec_int("algorithm", "Algorithm",
                         "Bayer: 0 bilinear, 1 adaptive (the best picture, slow), 2 edge-aware. TrueSense: 0 fast, 1 "
                         "white balance and impulse filter, 2 Bayer-like, 3 noise cleaning and sharpening, 4 its "
                         "reference form, slower",
                         0, kTrueSenseAlgorithms - 1, standard.algorithm, playing));
    g_object_class_install_property(
        object, kThreads,
        g_param_spec_int("threads", "Threads",
                         "Threads of a TrueSense conversion, 0: the process's default (OMP_NUM_THREADS). Bayer 0 and 2 "
                         "use OpenCV's threads (OPENCV_FOR_THREADS_NUM), 1 the streaming thread alone",
                         0, threads, standard.threads, playing));
    g_object_class_install_property(
        object, kGrid,
        g_param_spec_int("grid", "Grid code",
                         "TrueSense: place of a frame's first pixel in the cell P B P G / B P G P / P G P R / G P R P, "
                         "its column + 4 * its row",
                         0, 15, standard.grid, playing));
    g_object_class_install_property(
        object, kBits,
        g_param_spec_enum("bits", "Bits", "TrueSense: significant low bits of GRAY16_LE samples", BitsType(),
                          standard.bits, playing));
    g_object_class_install_property(
        object, kParameters,
        g_param_spec_string("parameters", "Parameters",
                            "Other parameters of the conversion: \"redGain=1.5,blueGain=1.7\" (docs/parameters.md)", "",
                            playing));
    gst_type_mark_as_plugin_api(MosaicType(), static_cast<GstPluginAPIFlags>(0));
    gst_type_mark_as_plugin_api(BitsType(), static_cast<GstPluginAPIFlags>(0));

    GstElementClass* element = GST_ELEMENT_CLASS(type);
    gst_element_class_set_static_metadata(element, "Mosaic to colour converter", "Filter/Converter/Video",
                                          "Converts raw frames of Bayer and TrueSense cameras to colour",
                                          "libOrvDemosaicing");
    gst_element_class_add_pad_template(element,
                                       gst_pad_template_new("sink", GST_PAD_SINK, GST_PAD_ALWAYS, AllSources().get()));
    gst_element_class_add_pad_template(element,
                                       gst_pad_template_new("src", GST_PAD_SRC, GST_PAD_ALWAYS, AllPictures().get()));

    GstBaseTransformClass* transform = GST_BASE_TRANSFORM_CLASS(type);
    transform->transform_caps = TransformCaps;
    transform->set_caps = SetCaps;
    transform->transform_size = TransformSize;
    transform->propose_allocation = ProposeAllocation;
    transform->decide_allocation = DecideAllocation;
    transform->transform_meta = TransformMeta;
    transform->transform = Transform;
    transform->stop = Stop;
}
