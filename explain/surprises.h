// What may surprise in a picture that is decoded, in words.
#pragma once

#include <vector>

#include "explain/causes.h"

namespace kpx {

std::vector<Remark> surprisesOf(const FileFacts& facts, const Verdict& verdict);

}  // namespace kpx
