#include "Jobs.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include "ReadImage.h"

namespace orvtool {

namespace {

constexpr int kLargestScene = 16000;

void ClipToDepth(const Console& console, Job* job) {
    const uint16_t top = static_cast<uint16_t>(job->frame.word.MaxSample());
    const auto clipped =
        std::count_if(job->frame.codes.begin(), job->frame.codes.end(), [top](uint16_t code) { return code > top; });
    if (clipped > 0) {
        std::transform(job->frame.codes.begin(), job->frame.codes.end(), job->frame.codes.begin(),
                       [top](uint16_t code) { return std::min(code, top); });
        console.Remark(Format("%s: %lld samples above %d clipped to the depth of %s", job->name.c_str(),
                              static_cast<long long>(clipped), top, job->frame.word.name.c_str()));
    }
}

}  // namespace

Job Simulate(const Options& options, const SourceWord& word, const std::string& name, SceneImage truth) {
    std::vector<float> samples = SampleMosaic(truth, word, options.pan);
    AddNoise(&samples, options.noise);
    Job job;
    job.name = name;
    job.frame = {word, truth.width, truth.height, Quantise(samples, word.bits)};
    job.truth = std::move(truth);
    return job;
}

JobReader::JobReader(const Options& options, const Input* input, const Console& console)
    : options_(options), input_(input), console_(console) {
    if (input == nullptr || !input->raw) {
        return;
    }
    raw_ = std::make_unique<RawFile>(input->path, options.word, options.layout);
    if (!options.frame && !options.allFrames && raw_->FrameCount() > 1) {
        console.Remark(Format("%s holds %lld whole frames, the first is converted: see --frame and --frames",
                              input->path.c_str(), static_cast<long long>(raw_->FrameCount())));
    }
    if (raw_->Remainder() > 0) {
        console.Remark(Format("%s: %lld bytes at its end are no whole frame: are --size, --offset and --word right?",
                              input->path.c_str(), static_cast<long long>(raw_->Remainder())));
    }
    if (options.frame) {
        raw_->Skip(*options.frame);
    }
}

int64_t JobReader::Count() const {
    return raw_ == nullptr || !options_.allFrames ? 1 : std::max<int64_t>(0, raw_->FrameCount());
}

bool JobReader::NextRaw(Job* job) {
    if (done_ > 0 && !options_.allFrames) {
        if (!options_.frame && raw_->HasMore()) {
            console_.Remark(job->name + " goes on behind its first frame: see --frame and --frames");
        }
        return false;
    }
    if (!raw_->Read(&job->frame)) {
        return false;
    }
    if (options_.allFrames) {
        job->stem += Format("-%04lld", static_cast<long long>(done_));
        job->name += Format(" frame %lld", static_cast<long long>(done_));
    }
    return true;
}

void JobReader::LoadImage(Job* job) const {
    const SourceWord& word = options_.word;
    ImageFile file = ReadImage(input_->path);
    if (options_.as == "mosaic" && file.codes.empty()) {
        throw std::runtime_error("--as mosaic: the channels of " + job->name + " differ, so it is a colour picture");
    }
    if (options_.as == "picture" && file.picture.rgb.empty()) {
        throw std::runtime_error("--as picture: " + job->name + " is a PGM mosaic");
    }
    if (options_.as == "picture" || file.codes.empty()) {
        const std::string stem = job->stem;
        *job = Simulate(options_, word, job->name, Shrink(file.picture, options_.shrink));
        job->stem = stem;
        return;
    }
    if (options_.noise.shotGain > 0 || options_.noise.readNoise > 0 || options_.shrink > 1 ||
        !options_.mosaic.empty()) {
        throw std::runtime_error(job->name +
                                 ": --shot-noise, --read-noise, --shrink and --mosaic are for colour "
                                 "pictures, and this is a mosaic");
    }
    if (file.bits == 8 && word.bits > 8) {
        throw std::runtime_error(Format("%s has samples of 8 bits, where %s means %d: use a word of 8 bits",
                                        job->name.c_str(), word.name.c_str(), word.bits));
    }
    job->frame = {word, file.width, file.height, std::move(file.codes)};
}

bool JobReader::Next(Job* job) {
    job->truth.reset();
    if (input_ == nullptr) {
        if (options_.size.width > kLargestScene || options_.size.height > kLargestScene) {
            throw std::runtime_error("--size: the scene is at most 16000 pixels wide and high");
        }
        if (done_ == 0) {
            const auto render = options_.scene == "leaves" ? RenderLeaves : RenderScene;
            *job = Simulate(options_, options_.word, "scene", render(options_.size.width, options_.size.height));
            job->stem = "scene";
        }
        return done_++ == 0;
    }
    job->name = input_->path == "-" ? "standard input" : input_->path;
    job->stem = input_->path == "-" ? "stdin" : std::filesystem::path(input_->path).stem().string();
    if (raw_ != nullptr) {
        if (!NextRaw(job)) {
            return false;
        }
    } else if (done_ == 0) {
        LoadImage(job);
    } else {
        return false;
    }
    ++done_;
    if (!job->truth) {
        ClipToDepth(console_, job);
    }
    return true;
}

}  // namespace orvtool
