// The plugin that GStreamer loads: one element.
#include <gst/gst.h>

#include "Element.h"
#include "OrvVersion.h"

#define PACKAGE "libOrvDemosaicing"

static gboolean Init(GstPlugin* plugin) {
    return gst_element_register(plugin, "orvdemosaic", GST_RANK_NONE, orv_demosaic_get_type());
}

GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, orvdemosaic,
                  "Bayer and TrueSense frames to colour by libOrvDemosaicing", Init, ORV_VERSION_TEXT, "Proprietary",
                  "libOrvDemosaicing", "Unknown package origin")
