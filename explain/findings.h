// What is found out about a file: why it is not decoded, what may surprise in its picture, and the grade that follows.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "explain/verdict.h"

namespace kpx {

// From the best to the worst.
enum class Grade : std::uint8_t {
    right,       // decodes as its format means
    noted,       // decodes right; how the values are read is worth knowing
    suspect,     // decodes as the header says, and headers like this are often wrong
    wrong,       // decodes to a picture that the file does not mean or hold
    black,       // the header is readable, the data is not decoded
    unreadable,  // no DDS file, or it cannot be opened
};

// Returns the name of the enumerator: "right" to "unreadable".
const char* gradeName(Grade grade);

// An id that never changes, a sentence with the numbers of the file, and advice.
struct Finding {
    std::string id;
    std::string sentence;
    Grade severity = Grade::noted;
    const char* advice = "";  // what to do if no repair is known, a clause; may be empty
};

// Returns the worst severity; right if there are no findings.
Grade gradeOf(const std::vector<Finding>& findings);

// Returns why a file is not a DDS file, not opened or not decoded; nothing otherwise. The first has the advice.
std::vector<Finding> causesOf(const FileFacts& facts, const Verdict& verdict);

// Returns what may surprise in a DDS file that is decoded; nothing for other files.
std::vector<Finding> surprisesOf(const FileFacts& facts, const Verdict& verdict);

}  // namespace kpx
