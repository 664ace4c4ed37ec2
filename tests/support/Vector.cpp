#include "support/Vector.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace orvtest {

namespace {
std::vector<long> Numbers(const std::string& line) {
    std::istringstream in(line);
    std::vector<long> numbers;
    for (long number = 0; in >> number;) {
        numbers.push_back(number);
    }
    return numbers;
}
}  // namespace

long Vector::Int(const std::string& key) const { return std::stol(values.at(key)); }
double Vector::Float(const std::string& key) const { return std::stod(values.at(key)); }
std::vector<long> Vector::Ints(const std::string& key) const { return Numbers(values.at(key)); }

std::vector<std::string> VectorFiles(const std::string& prefix) {
    std::vector<std::string> files;
    const char* folder = std::getenv("ORV_TEST_VECTORS");
    if (folder == nullptr || *folder == '\0') {
        return files;
    }
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        if (name.rfind(prefix, 0) == 0 && name.size() > prefix.size() && name[prefix.size()] >= '0' &&
            name[prefix.size()] <= '9') {
            files.push_back(entry.path().string());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

Vector ReadVector(const std::string& path) {
    std::ifstream in(path);
    if (!in) {
        throw std::runtime_error("cannot read " + path);
    }
    Vector vector;
    std::vector<std::vector<long>>* block = nullptr;
    for (std::string line; std::getline(in, line);) {
        if (line == "source" || line == "expected") {
            auto& blocks = line == "source" ? vector.sources : vector.expected;
            blocks.emplace_back();
            block = &blocks.back();
        } else if (const size_t equals = line.find('='); equals != std::string::npos) {
            vector.values[line.substr(0, equals)] = line.substr(equals + 1);
        } else if (block != nullptr && !line.empty()) {
            block->push_back(Numbers(line));
        }
    }
    return vector;
}

}  // namespace orvtest
