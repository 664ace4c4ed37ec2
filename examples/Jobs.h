// The frames of the inputs, one after the other, ready for conversion.
#ifndef ORV_EXAMPLES_JOBS_H
#define ORV_EXAMPLES_JOBS_H

#include <memory>
#include <optional>
#include <string>

#include "Console.h"
#include "Options.h"

namespace orvtool {

struct Job {
    std::string name;
    std::string stem;  // of the picture: the input's, with the number of the frame where there are several
    Frame frame;
    std::optional<SceneImage> truth;  // of simulated frames
};

// The mosaic that a sensor would see of `truth`.
Job Simulate(const Options& options, const SourceWord& word, const std::string& name, SceneImage truth);

class JobReader {
public:
    // The frames of one input; null: the scene. Throws std::runtime_error, as Next does.
    JobReader(const Options& options, const Input* input, const Console& console);

    // Frames to come; 0 where that is unknown.
    int64_t Count() const;
    bool Next(Job* job);

private:
    bool NextRaw(Job* job);
    void LoadImage(Job* job) const;

    const Options& options_;
    const Input* input_;
    const Console& console_;
    std::unique_ptr<RawFile> raw_;
    int64_t done_ = 0;
};

}  // namespace orvtool

#endif
