// The exception of the host's C++ interface: a sentence for the user, without the name of the file.
#pragma once

#include <cstring>
#include <stdexcept>
#include <string>

namespace kpx::host {

class HostError : public std::runtime_error {
public:
    explicit HostError(const std::string& sentence, int code = 0) : std::runtime_error(sentence), m_code(code) {}

    // Returns the error number of the failed system call (errno); 0 if unknown.
    [[nodiscard]] int code() const { return m_code; }

private:
    int m_code;
};

// Returns the exception for a failed system call: "WHAT: REASON". Both are English in every locale.
inline HostError systemError(const std::string& what, int code) {
    const char* text = strerrordesc_np(code);
    return HostError(what + ": " + (text == nullptr ? "Unknown error " + std::to_string(code) : text), code);
}

}  // namespace kpx::host
