// Why a file comes out as the black picture, or not at all, in words.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "explain/verdict.h"

namespace kpx {

// How much a remark matters to whoever looks at the picture.
enum class Weight : std::uint8_t {
    fact,   // the picture is as it should be
    doubt,  // it may look wrong
    fault,  // it looks wrong
};

// A word that does not change, and a sentence with the numbers of the file.
struct Remark {
    std::string id;
    std::string sentence;
    Weight weight = Weight::fault;
    const char* advice = "";  // what to do where no mend is known, a clause; empty where there is nothing
};

// None of a decoded file.
std::vector<Remark> causesOf(const FileFacts& facts, const Verdict& verdict);

// What to do about the first cause where no mend is known, a clause. Of a file that is not decoded.
const char* adviceOn(const Verdict& verdict);

// The sentences of the causes, one after the other.
std::string causeText(const FileFacts& facts, const Verdict& verdict);

}  // namespace kpx
