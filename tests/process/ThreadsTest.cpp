// Components on several threads at once, one each: they give what one alone gives.
#include <gtest/gtest.h>

#include <memory>
#include <thread>

#include "OrvBayer.h"
#include "OrvTrueSense.h"
#include "support/Image.h"
#include "support/Noise.h"

namespace {

using orvtest::Image;

constexpr int kFrames = 60;

// Converts one frame of 12 bits again and again on a component of its own.
template <class Component>
class Camera {
public:
    Camera(OrvComponent* (*settings)(Component*), const char* parameter, int algorithm, uint32_t word, int side)
        : component_(Component::CreateComponent()),
          source_(word, 12, side, side, 2 * side),
          result_(OrvPixelRGB12, 12, side, side, 6 * side) {
        orvtest::Noise noise(static_cast<uint64_t>(side));
        for (size_t i = 0; i < source_.bytes.size(); ++i) {
            source_.bytes[i] = static_cast<uint8_t>(noise.Next() & (i % 2 == 0 ? 0xFFU : 0x0FU));
        }
        EXPECT_EQ(0U, OrvSetParam(*settings(component_), parameter, algorithm));
        expected_ = Convert();
    }
    ~Camera() { Component::DeleteComponent(component_); }
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    void Run() {
        for (int i = 0; i < kFrames; ++i) {
            wrong_ += Convert() != expected_ ? 1 : 0;
        }
    }
    int Wrong() const { return wrong_; }

private:
    std::vector<uint8_t> Convert() {
        component_->ReleaseData();  // each frame is a first one
        EXPECT_EQ(0U, component_->ConvertImage(&source_.record, &result_.record));
        return result_.bytes;
    }

    Component* component_;
    Image source_, result_;
    std::vector<uint8_t> expected_;
    int wrong_ = 0;
};

template <class MakeCamera>
void RunTogether(const MakeCamera& make) {
    std::vector<decltype(make(0))> cameras;
    for (const int side : {64, 76, 120}) {
        cameras.push_back(make(side));
    }
    std::vector<std::thread> threads;
    threads.reserve(cameras.size());
    for (const auto& camera : cameras) {
        threads.emplace_back([&camera] { camera->Run(); });
    }
    for (size_t i = 0; i < threads.size(); ++i) {
        threads[i].join();
        EXPECT_EQ(0, cameras[i]->Wrong());
    }
}

TEST(Threads, TrueSenseComponentsAtOnce) {
    for (int algorithm = 0; algorithm < 5; ++algorithm) {
        SCOPED_TRACE(algorithm);
        RunTogether([&](int side) {
            return std::make_unique<Camera<OrvTrueSense>>(OrvTrueSense_GetComponent, "TrueSenseAlgType", algorithm,
                                                          OrvPixelTrueSense12, side);
        });
    }
}

TEST(Threads, BayerComponentsAtOnce) {
    for (int algorithm = 0; algorithm < 3; ++algorithm) {
        SCOPED_TRACE(algorithm);
        RunTogether([&](int side) {
            return std::make_unique<Camera<OrvBayer>>(OrvBayer_GetComponent, "BayerAlgType", algorithm,
                                                      OrvPixelBayerRG12, side);
        });
    }
}

}  // namespace
