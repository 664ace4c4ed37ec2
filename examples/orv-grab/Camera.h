// A GenICam camera through aravis, or its in-process fake one.
#ifndef ORV_EXAMPLES_CAMERA_H
#define ORV_EXAMPLES_CAMERA_H

#include <arv.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orvgrab {

struct ObjectDeleter {
    void operator()(void* object) const { g_object_unref(object); }
};
template <class T>
using Object = std::unique_ptr<T, ObjectDeleter>;

struct CameraSettings {
    std::string id;                      // as Cameras() tells, "fake" for the one in this process, "" for any
    std::string pixelFormat;             // as the camera names it; "" for a mosaic that it has
    std::optional<double> frameRate;     // per second
    std::optional<double> exposureTime;  // microseconds
    std::optional<double> gain;          // as the camera counts it
    int buffers = 8;                     // frames that the camera may be ahead of Next()
};

// What is connected, one line each: identity, vendor and model.
std::vector<std::string> Cameras();

// Failures are std::runtime_error; the text says what the camera has instead.
class Camera {
public:
    explicit Camera(const CameraSettings& settings);
    ~Camera();
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    // Vendor, model, size and pixel format.
    std::string Description() const;

    void Start();
    void Stop();
    // The next whole frame, null if none comes in time. Give it back when its pixels have been read.
    ArvBuffer* Next(std::chrono::milliseconds patience);
    void GiveBack(ArvBuffer* buffer);
    // Frames since the start that arrived broken, or found no free buffer.
    uint64_t Lost() const;

private:
    void ChoosePixelFormat(const std::string& wanted);

    Object<ArvCamera> camera_;
    Object<ArvStream> stream_;
    bool running_ = false;
};

}  // namespace orvgrab

#endif
