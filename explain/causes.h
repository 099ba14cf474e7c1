// Why a file comes out as the black picture, or not at all, in words.
#pragma once

#include <string>
#include <vector>

#include "explain/verdict.h"

namespace kpx {

// A word that does not change, and a sentence with the numbers of the file.
struct Remark {
    std::string id;
    std::string sentence;
};

// None of a decoded file.
std::vector<Remark> causesOf(const FileFacts& facts, const Verdict& verdict);

// The sentences of the causes, one after the other.
std::string causeText(const FileFacts& facts, const Verdict& verdict);

}  // namespace kpx
