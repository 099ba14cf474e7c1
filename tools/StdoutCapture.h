// Catches what a plug-in prints to the process's standard output, so that it does not mix with the tool's data.
#pragma once

#include <string>

namespace kpx::tool {

class StdoutCapture {
public:
    StdoutCapture();  // throws FileError
    ~StdoutCapture();
    StdoutCapture(const StdoutCapture&) = delete;
    StdoutCapture& operator=(const StdoutCapture&) = delete;

    // Ends the capture and returns the text.
    std::string finish();

private:
    void restore();

    int m_original;
    int m_captured;
};

}  // namespace kpx::tool
