// What the element takes and gives, as caps.
#ifndef ORV_GSTREAMER_CAPS_H
#define ORV_GSTREAMER_CAPS_H

#include <gst/gst.h>

#include <memory>

#include "Converter.h"

namespace orvgst {

struct CapsUnref {
    void operator()(GstCaps* caps) const { gst_caps_unref(caps); }
};
using Caps = std::unique_ptr<GstCaps, CapsUnref>;

// Of all frames and of all pictures, for the pads' templates.
Caps AllSources();
Caps AllPictures();

// Pictures that frames of these caps become.
Caps PicturesOf(const GstCaps* sources);
// Frames of a mosaic that become pictures of these caps.
Caps SourcesOf(const GstCaps* pictures, Mosaic mosaic);

// The frame's word, where caps are fixed; 0 for caps of another mosaic than the settings'.
uint32_t SourceWord(const GstCaps* source, const Settings& settings);

}  // namespace orvgst

#endif
