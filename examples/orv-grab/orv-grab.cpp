// orv-grab: frames of a GenICam camera to colour, as they come.
//
// One thread takes frames from the camera and keeps the newest one for another thread, which converts it: when the
// conversion is slower than the camera, frames are dropped and counted, and what is shown is never old.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <atomic>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <exception>
#include <fstream>
#include <mutex>
#include <opencv2/imgcodecs.hpp>
#include <thread>

#include "Camera.h"
#include "CameraFrame.h"

namespace {

using namespace orvgrab;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kPatience(100);
constexpr std::chrono::seconds kSilence(5);  // a camera that sends nothing for so long is not going to

std::atomic<bool> g_interrupted{false};

struct Options {
    CameraSettings camera;
    bool list = false;
    int algorithm = 0;
    int threads = 0;
    uint64_t frames = 100;
    std::string output;
    std::string raw;
};

// The newest frame that waits for its conversion.
class Newest {
public:
    // Returns the frame that nobody took in time, or null.
    ArvBuffer* Put(ArvBuffer* frame) {
        const std::lock_guard<std::mutex> lock(mutex_);
        std::swap(frame, frame_);
        changed_.notify_one();
        return frame;
    }
    // Waits for a frame; null after End().
    ArvBuffer* Take() {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [this] { return frame_ != nullptr || ended_; });
        return ended_ ? nullptr : std::exchange(frame_, nullptr);
    }
    // Returns the frame that still waits, or null.
    ArvBuffer* End() {
        const std::lock_guard<std::mutex> lock(mutex_);
        ended_ = true;
        changed_.notify_one();
        return std::exchange(frame_, nullptr);
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    ArvBuffer* frame_ = nullptr;
    bool ended_ = false;
};

CameraFrame FrameOf(ArvBuffer* buffer) {
    CameraFrame frame;
    frame.pixelFormat = static_cast<uint32_t>(arv_buffer_get_image_pixel_format(buffer));
    frame.width = arv_buffer_get_image_width(buffer);
    frame.height = arv_buffer_get_image_height(buffer);
    int below = 0;
    arv_buffer_get_image_padding(buffer, &frame.rowPadding, &below);
    frame.data = arv_buffer_get_image_data(buffer, &frame.bytes);
    return frame;
}

// Both threads, and what they count.
class Grabber {
public:
    Grabber(Camera* camera, const Options& options)
        : camera_(*camera), wanted_(options.frames), converter_(options.algorithm, options.threads) {}

    // Converts as many frames as are wanted, or until the user interrupts. Throws what went wrong in either thread.
    void Run() {
        camera_.Start();
        start_ = Clock::now();
        std::thread grabbing([this] { Guard([this] { GrabFrames(); }); });
        std::thread converting([this] { Guard([this] { ConvertFrames(); }); });
        for (int i = 0; !stop_; i = (i + 1) % 10) {
            std::this_thread::sleep_for(kPatience);
            if (i == 0 && isatty(STDERR_FILENO) != 0) {
                std::fprintf(stderr, "\r\033[K%s", State().c_str());
            }
        }
        grabbing.join();
        converting.join();
        camera_.Stop();
        if (isatty(STDERR_FILENO) != 0) {
            std::fputs("\r\033[K", stderr);
        }
        std::puts(State().c_str());
        if (failure_) {
            std::rethrow_exception(failure_);
        }
        if (last_ == nullptr) {
            throw std::runtime_error("no frame was converted");
        }
    }

    // Of the last frame: blue first, and as the camera sent it.
    const cv::Mat& Colour() const { return colour_; }
    CameraFrame Raw() const { return FrameOf(last_.get()); }

private:
    // Runs one thread's work; when it ends, so does the other thread.
    template <class Work>
    void Guard(const Work& work) {
        try {
            work();
        } catch (...) {
            const std::lock_guard<std::mutex> lock(failureMutex_);
            failure_ = failure_ ? failure_ : std::current_exception();
        }
        stop_ = true;
        Drop(newest_.End());
    }

    void Drop(ArvBuffer* buffer) {
        if (buffer != nullptr) {
            ++dropped_;
            camera_.GiveBack(buffer);
        }
    }

    void GrabFrames() {
        auto heard = Clock::now();
        while (!stop_ && !g_interrupted) {
            if (ArvBuffer* buffer = camera_.Next(kPatience)) {
                heard = Clock::now();
                ++grabbed_;
                Drop(newest_.Put(buffer));
            } else if (Clock::now() - heard > kSilence) {
                throw std::runtime_error("the camera sends no whole frames (does it wait for a trigger?)");
            }
        }
    }

    void ConvertFrames() {
        while (wanted_ == 0 || converted_ < wanted_) {
            Object<ArvBuffer> buffer(newest_.Take());
            if (!buffer) {
                return;
            }
            colour_ = converter_.Convert(FrameOf(buffer.get()));
            ++converted_;
            // The last frame's bytes may be asked for, so its buffer goes back when the next one has come.
            std::swap(last_, buffer);
            if (buffer) {
                camera_.GiveBack(buffer.release());
            }
        }
    }

    std::string State() const {
        const double seconds = std::chrono::duration<double>(Clock::now() - start_).count();
        char text[160];
        std::snprintf(text, sizeof(text), "%llu frames, %llu converted (%.1f per second), %llu dropped, %llu lost",
                      Number(grabbed_), Number(converted_), static_cast<double>(converted_) / seconds, Number(dropped_),
                      Number(camera_.Lost()));
        return text;
    }
    static unsigned long long Number(uint64_t number) { return number; }

    Camera& camera_;
    const uint64_t wanted_;
    ColourConverter converter_;
    Newest newest_;
    std::atomic<bool> stop_{false};
    std::atomic<uint64_t> grabbed_{0}, converted_{0}, dropped_{0};
    std::mutex failureMutex_;
    std::exception_ptr failure_;
    Clock::time_point start_;
    Object<ArvBuffer> last_;
    cv::Mat colour_;
};

// To another name first, so that `path` never holds half a picture.
void WritePng(const std::string& path, const cv::Mat& picture) {
    const std::string part = path + ".part.png";
    if (!cv::imwrite(part, picture) || std::rename(part.c_str(), path.c_str()) != 0) {
        std::remove(part.c_str());
        throw std::runtime_error("cannot write " + path);
    }
}

void WriteRaw(const std::string& path, const CameraFrame& frame) {
    std::ofstream file(path, std::ios::binary);
    if (!file.write(static_cast<const char*>(frame.data), static_cast<std::streamsize>(frame.bytes)).flush()) {
        throw std::runtime_error("cannot write " + path);
    }
}

void Run(const Options& options) {
    if (options.list) {
        for (const std::string& camera : Cameras()) {
            std::puts(camera.c_str());
        }
        return;
    }
    Camera camera(options.camera);
    std::puts(camera.Description().c_str());
    Grabber grabber(&camera, options);
    std::signal(SIGINT, [](int) { g_interrupted = true; });
    grabber.Run();
    if (!options.output.empty()) {
        WritePng(options.output, grabber.Colour());
    }
    if (!options.raw.empty()) {
        WriteRaw(options.raw, grabber.Raw());
    }
}

int ParseAndRun(int argc, char** argv) {
    Options options;
    CLI::App app(
        "Converts the frames of a GenICam camera (GigE Vision, USB3 Vision) to colour as they come. The newest frame "
        "waits for its conversion, an older one that still waits is dropped; lost frames never reached this program.",
        "orv-grab");
    app.add_flag("--list", options.list, "list the cameras that answer and end");
    app.add_option("-c,--camera", options.camera.id,
                   "identity as --list tells; fake: a camera inside this program; default: the first one");
    app.add_option("-f,--format", options.camera.pixelFormat,
                   "pixel format as the camera names it, as BayerRG12p; default: a mosaic that it has");
    app.add_option("--rate", options.camera.frameRate, "frames per second")->check(CLI::PositiveNumber);
    app.add_option("--exposure", options.camera.exposureTime, "microseconds")->check(CLI::PositiveNumber);
    app.add_option("--gain", options.camera.gain, "as the camera counts it, most in dB");
    app.add_option("--buffers", options.camera.buffers, "frames that the camera may be ahead")
        ->check(CLI::Range(4, 1000))
        ->capture_default_str();
    app.add_option("-a,--alg", options.algorithm,
                   "Bayer: 0 bilinear, 1 adaptive, 2 edge-aware; TrueSense: 0 to 4, from fast to reference")
        ->check(CLI::Range(0, 4))
        ->capture_default_str();
    app.add_option("-t,--threads", options.threads, "threads of a TrueSense conversion; 0: the process's default")
        ->check(CLI::Range(0, 32));
    app.add_option("-n,--frames", options.frames, "frames to convert; 0: until interrupted")->capture_default_str();
    app.add_option("-o,--output", options.output, "PNG of the last frame, 8 bits");
    app.add_option("--raw", options.raw, "file for the last frame as the camera sent it");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 1;
    }
    if (!options.output.empty() && options.output.rfind(".png") != options.output.size() - 4) {
        throw std::runtime_error("-o: '" + options.output + "' must end in .png");
    }
    Run(options);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return ParseAndRun(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "orv-grab: %s\n", error.what());
    }
    return 1;
}
