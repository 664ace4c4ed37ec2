// Engines that record what they are asked for, to stand behind a TrueSense component.
#ifndef ORV_TESTS_STANDIN_H
#define ORV_TESTS_STANDIN_H

#include <stdexcept>
#include <string>
#include <vector>

#include "truesense/Engines.h"

namespace orvtest {

struct StandInLog {
    std::string calls;          // "+A8" made and "-A8" ended, with class and sample width; other calls by name
    std::vector<long> numbers;  // arguments of the last Init or InitRGB
    const void* source = nullptr;
    void* destination = nullptr;
    tagTrueSenseParam param = {};
    // What the engines are to do.
    int initCode = 0, calculateCode = 0;
    bool throws = false;
};
inline StandInLog g_log;

template <class T, char letter>
class StandIn : public IDemosaicing, public IDemConvertion<T> {
public:
    StandIn() { g_log.calls += '+' + Name(); }
    ~StandIn() override { g_log.calls += '-' + Name(); }
    void CleanMemory() override {}
    bool IsThis(IDemosaicing* other) override { return other == this; }
    void SetOutputPixelType(bool alpha, bool bgr) override {
        g_log.calls += std::string(alpha ? "4" : "3") + (bgr ? "bgr " : "rgb ");
    }
    int Init(T const* src, _OrvRect rect, _OrvSize size, int srcStride, int bits, T* dst, int dstStride,
             unsigned char grid, tagTrueSenseParam* param) override {
        g_log.calls += "Init ";
        return Keep(src, rect, size, srcStride, bits, dst, dstStride, grid, param);
    }
    int Calculate() override {
        g_log.calls += "Calculate ";
        return g_log.calculateCode;
    }
    int InitRGB(unsigned short const* src, _OrvRect rect, _OrvSize size, int srcStride, int bits, unsigned char* dst,
                int dstStride, unsigned char grid, tagTrueSenseParam* param) override {
        g_log.calls += "InitRGB ";
        return Keep(src, rect, size, srcStride, bits, dst, dstStride, grid, param);
    }
    int CalculateRGB() override {
        g_log.calls += "CalculateRGB ";
        return g_log.calculateCode;
    }

private:
    static std::string Name() { return letter + std::to_string(8 * sizeof(T)) + ' '; }
    static int Keep(const void* src, _OrvRect r, _OrvSize s, int srcStride, int bits, void* dst, int dstStride,
                    int grid, const tagTrueSenseParam* param) {
        g_log.source = src;
        g_log.destination = dst;
        g_log.numbers = {r.x, r.y, r.width, r.height, s.width, s.height, srcStride, bits, dstStride, grid};
        g_log.param = *param;
        if (g_log.throws) {
            throw std::runtime_error("from the engine");
        }
        return g_log.initCode;
    }
};
template <class T>
class EngineA final : public StandIn<T, 'A'> {};
template <class T>
class EngineB final : public StandIn<T, 'B'> {};

inline orv::TrueSenseEngines StandIns() {
    orv::TrueSenseEngines engines = {};
    engines.Add<EngineA>(0);
    engines.Add<EngineB>(1);
    engines.Add<EngineB>(4);
    return engines;
}

}  // namespace orvtest

#endif
