// The error that ends the work on one file.
#pragma once

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

namespace kpx {

// The work on a file cannot go on. The message is a sentence without the file's name, which the catcher adds.
class FileError : public std::runtime_error {
public:
    explicit FileError(const std::string& sentence, int code = 0) : std::runtime_error(sentence), m_code(code) {}

    // Returns the error number of the system call that failed (errno); 0 if none failed.
    [[nodiscard]] int code() const { return m_code; }

private:
    int m_code;
};

// Returns the system's text for an error number. It is English in every locale, as are the sentences around it.
inline std::string systemErrorText(int code) {
    const char* text = strerrordesc_np(code);
    return text == nullptr ? "Unknown error " + std::to_string(code) : text;
}

// Returns the exception for a failed system call: "WHAT: REASON", with the error number.
template <typename Error = FileError>
Error systemError(const char* what, int code) {
    return Error(std::string(what) + ": " + systemErrorText(code), code);
}

}  // namespace kpx
