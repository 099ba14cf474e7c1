// What the host's C++ interface throws: a sentence for the user, without the file's name.
#pragma once

#include <cstring>
#include <stdexcept>
#include <string>

namespace kpx::host {

class HostError : public std::runtime_error {
public:
    explicit HostError(const std::string& sentence, int code = 0) : std::runtime_error(sentence), m_code(code) {}

    // The error number of the system call that failed (errno); 0 if none is known.
    [[nodiscard]] int code() const { return m_code; }

private:
    int m_code;
};

// Returns the exception for a failed system call: "WHAT: REASON". The reason is English in every locale, as WHAT is.
inline HostError systemError(const std::string& what, int code) {
    const char* text = strerrordesc_np(code);
    return HostError(what + ": " + (text == nullptr ? "Unknown error " + std::to_string(code) : text), code);
}

}  // namespace kpx::host
