// Reads frames with expected results from text files: `key=value` lines, then blocks `source` and `expected` of one
// line per row. The files are optional: their folder comes from the environment variable ORV_TEST_VECTORS, and tests
// skip without it.
#ifndef ORV_TESTS_VECTOR_H
#define ORV_TESTS_VECTOR_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace orvtest {

struct Vector {
    std::map<std::string, std::string> values;
    // Rows of each block in file order; several frames have several blocks.
    std::vector<std::vector<std::vector<long>>> sources;
    std::vector<std::vector<std::vector<long>>> expected;

    long Int(const std::string& key) const;
    double Float(const std::string& key) const;
    // The whitespace-separated numbers of a value.
    std::vector<long> Ints(const std::string& key) const;
};

// Paths of the files whose names are `prefix` and a digit first, sorted; empty when no folder is given.
std::vector<std::string> VectorFiles(const std::string& prefix);
Vector ReadVector(const std::string& path);

}  // namespace orvtest

#endif
