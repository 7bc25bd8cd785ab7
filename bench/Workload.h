// The data of the benchmarks: keys in one of a few shapes, each with a value. Half of the values are integers, a
// quarter numbers with a fraction, a quarter texts of 20 characters; in two shapes all are texts.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

enum class SHAPE {
    GROUPED,  // "Group012/Sub03/Key004": like settings
    FLAT,     // "Key000012": one component, which differs from key to key
    WIDE,     // "Group000012/Key": two components, of which the first differs from key to key
    DEEP,     // 32 components, the last three as in GROUPED
    TEXTS,    // keys as in GROUPED, each value a text of 40 bytes of ASCII
    FOREIGN   // the same, but 20 characters of two bytes each
};

enum class VALUE_TYPE { INT, DOUBLE, TEXT };

struct KEY {
    std::size_t number;  // from the first of the workload, usually 0
    std::string full;    // "Group012/Sub03/Key004"
    std::string group;   // "Group012/Sub03"
    std::string name;    // "Key004"
    VALUE_TYPE type;
    std::string text;       // the value of a TEXT
    std::string otherText;  // another value of the same length

    int Int() const { return static_cast<int>(number * 7); }
    double Double() const { return static_cast<double>(number) * 0.37 + 0.1; }
};

class WORKLOAD {
 public:
    // The keys are numbered from `first`.
    explicit WORKLOAD(std::size_t count, SHAPE shape = SHAPE::GROUPED, std::size_t first = 0);

    std::vector<KEY> const& Keys() const { return m_keys; }
    std::size_t Count() const { return m_keys.size(); }
    // The keys of one type in random order.
    std::vector<KEY const*> Shuffled(VALUE_TYPE type) const;

 private:
    std::vector<KEY> m_keys;
};
