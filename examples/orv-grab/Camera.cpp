#include "Camera.h"

#include <OrvHelpers.h>

#include <stdexcept>

#include "CameraFrame.h"

namespace orvgrab {

namespace {

// What a call of aravis reports.
class Error {
public:
    Error() = default;
    ~Error() { g_clear_error(&error_); }
    Error(const Error&) = delete;
    Error& operator=(const Error&) = delete;

    operator GError**() { return &error_; }
    // Throws if the call failed.
    void Check(const std::string& action) const {
        if (error_ != nullptr) {
            throw std::runtime_error(action + ": " + error_->message);
        }
    }

private:
    GError* error_ = nullptr;
};

std::string Joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : ", ") + word;
    }
    return text;
}

std::vector<std::string> PixelFormats(ArvCamera* camera) {
    Error error;
    guint count = 0;
    const char** names = arv_camera_dup_available_pixel_formats_as_strings(camera, &count, error);
    std::vector<std::string> formats(names, names + (names != nullptr ? count : 0));
    g_free(names);
    error.Check("pixel formats");
    return formats;
}

ArvCamera* Open(const std::string& id) {
    const bool fake = id == "fake";
    if (fake) {
        arv_enable_interface("Fake");
        arv_disable_interface("GigEVision");
        arv_disable_interface("USB3Vision");
    }
    Error error;
    ArvCamera* camera = arv_camera_new(fake ? "Fake_1" : id.empty() ? nullptr : id.c_str(), error);
    if (camera == nullptr) {
        const std::vector<std::string> found = Cameras();
        throw std::runtime_error((id.empty() ? "no camera" : "no camera '" + id + "'") +
                                 (found.empty() ? "; none is connected (network cameras answer only within this "
                                                  "machine's networks, USB ones need access rights)"
                                                : "; connected: " + Joined(found)));
    }
    return camera;
}

}  // namespace

std::vector<std::string> Cameras() {
    std::vector<std::string> found;
    arv_update_device_list();
    for (unsigned i = 0; i < arv_get_n_devices(); ++i) {
        found.push_back(std::string(arv_get_device_id(i)) + " (" + arv_get_device_vendor(i) + " " +
                        arv_get_device_model(i) + ")");
    }
    return found;
}

Camera::Camera(const CameraSettings& settings) : camera_(Open(settings.id)) {
    ChoosePixelFormat(settings.pixelFormat);
    if (settings.frameRate) {
        Error error;
        arv_camera_set_frame_rate(camera_.get(), *settings.frameRate, error);
        error.Check("frame rate");
    }
    if (settings.exposureTime) {
        Error error;
        arv_camera_set_exposure_time(camera_.get(), *settings.exposureTime, error);
        error.Check("exposure time");
    }
    if (settings.gain) {
        Error error;
        arv_camera_set_gain(camera_.get(), *settings.gain, error);
        error.Check("gain");
    }
    Error error;
    stream_.reset(arv_camera_create_stream(camera_.get(), nullptr, nullptr, error));
    error.Check("stream");
    const guint payload = arv_camera_get_payload(camera_.get(), error);
    error.Check("frame size");
    for (int i = 0; i < settings.buffers; ++i) {
        arv_stream_push_buffer(stream_.get(), arv_buffer_new(payload, nullptr));
    }
}

Camera::~Camera() {
    if (running_) {
        arv_camera_stop_acquisition(camera_.get(), nullptr);
    }
}

void Camera::ChoosePixelFormat(const std::string& wanted) {
    Error error;
    if (wanted.empty()) {
        const auto current = static_cast<uint32_t>(arv_camera_get_pixel_format(camera_.get(), error));
        error.Check("pixel format");
        if (IsMosaic(current)) {
            return;
        }
    }
    std::vector<std::string> mosaics;
    for (const std::string& format : PixelFormats(camera_.get())) {
        if (IsMosaic(OrvPfnc_FromName(format.c_str()))) {
            mosaics.push_back(format);
        }
    }
    for (const std::string& format : mosaics) {
        if (wanted.empty() || format == wanted) {
            arv_camera_set_pixel_format_from_string(camera_.get(), format.c_str(), error);
            error.Check("pixel format " + format);
            return;
        }
    }
    throw std::runtime_error((wanted.empty() ? "the camera has no mosaic that the library knows"
                                             : "the camera has no mosaic format '" + wanted + "'") +
                             (mosaics.empty() ? "" : "; it has " + Joined(mosaics)));
}

std::string Camera::Description() const {
    const char* vendor = arv_camera_get_vendor_name(camera_.get(), nullptr);
    const char* model = arv_camera_get_model_name(camera_.get(), nullptr);
    const char* format = arv_camera_get_pixel_format_as_string(camera_.get(), nullptr);
    int x = 0, y = 0, width = 0, height = 0;
    arv_camera_get_region(camera_.get(), &x, &y, &width, &height, nullptr);
    return std::string(vendor != nullptr ? vendor : "?") + " " + (model != nullptr ? model : "?") + ", " +
           std::to_string(width) + "x" + std::to_string(height) + " " + (format != nullptr ? format : "?");
}

void Camera::Start() {
    Error error;
    arv_camera_start_acquisition(camera_.get(), error);
    error.Check("start");
    running_ = true;
}

void Camera::Stop() {
    Error error;
    running_ = false;
    arv_camera_stop_acquisition(camera_.get(), error);
    error.Check("stop");
}

ArvBuffer* Camera::Next(std::chrono::milliseconds patience) {
    const auto microseconds = static_cast<guint64>(std::chrono::microseconds(patience).count());
    ArvBuffer* buffer = arv_stream_timeout_pop_buffer(stream_.get(), microseconds);
    if (buffer != nullptr && arv_buffer_get_status(buffer) != ARV_BUFFER_STATUS_SUCCESS) {
        GiveBack(buffer);
        return nullptr;
    }
    return buffer;
}

void Camera::GiveBack(ArvBuffer* buffer) { arv_stream_push_buffer(stream_.get(), buffer); }

uint64_t Camera::Lost() const {
    guint64 completed = 0, failures = 0, underruns = 0;
    arv_stream_get_statistics(stream_.get(), &completed, &failures, &underruns);
    return failures + underruns;
}

}  // namespace orvgrab
