// The GStreamer element orvdemosaic.
#ifndef ORV_GSTREAMER_ELEMENT_H
#define ORV_GSTREAMER_ELEMENT_H

#include <gst/gst.h>

// Its GObject type, a GstBaseTransform.
GType orv_demosaic_get_type();

#endif
