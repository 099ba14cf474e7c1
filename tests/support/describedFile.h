// Makes DDS files from a description, for tables of cases in text files.
#pragma once

#include <map>
#include <sstream>

#include "tests/support/ddsFiles.h"

namespace testing_support {

// Parses a number, decimal or hexadecimal (0x), or a code of four letters.
inline std::uint32_t describedNumber(const std::string& text) {
    const bool isNumber = !text.empty() && text[0] >= '0' && text[0] <= '9';
    if (isNumber) return static_cast<std::uint32_t>(std::stoul(text, nullptr, 0));
    std::uint32_t code = 0;
    std::memcpy(&code, text.data(), std::min(text.size(), sizeof code));
    return code;
}

inline Bytes describedBytes(const std::string& hexadecimal) {
    Bytes bytes;
    for (std::size_t i = 0; i + 1 < hexadecimal.size(); i += 2)
        bytes.push_back(static_cast<unsigned char>(std::stoul(hexadecimal.substr(i, 2), nullptr, 16)));
    return bytes;
}

// Makes a file from words such as "size=4x2 code=DXT1 flags=0x80000 zeros=8". Each word changes, in order, a file that
// starts as an empty header. "code" and "dxgi" also set the flags of the pixel format ("pf"). "masks" are hexadecimal,
// "data" appends hexadecimal bytes, "zeros" a number of zeros, and "bytes" sets the size of the file.
inline Bytes describedFile(const std::string& description) {
    static const std::map<std::string, std::size_t> places = {
        {"magic", 0},   {"flags", 8},       {"height", 12},     {"width", 16},  {"linear", 20}, {"depth", 24},
        {"levels", 28}, {"pf", 80},         {"code", 84},       {"bits", 88},   {"red", 92},    {"green", 96},
        {"blue", 100},  {"alpha", 104},     {"caps", 108},      {"caps2", 112}, {"dxgi", 128},  {"misc", 136},
        {"array", 140}, {"alphaMode", 144}, {"dimension", 132},
    };
    Bytes file = fileOf(headerOf(0, 0));
    const auto set = [&file](const std::string& name, std::uint32_t value) {
        std::memcpy(&file.at(places.at(name)), &value, sizeof value);
    };
    std::istringstream words(description);
    for (std::string word; words >> word;) {
        const std::size_t equals = word.find('=');
        const std::string name = word.substr(0, equals);
        const std::string value = word.substr(equals + 1);
        if (name == "size") {
            set("width", describedNumber(value.substr(0, value.find('x'))));
            set("height", describedNumber(value.substr(value.find('x') + 1)));
        } else if (name == "masks") {
            std::istringstream masks(value);
            for (const char* mask : {"red", "green", "blue", "alpha"}) {
                std::string number;
                std::getline(masks, number, ',');
                set(mask, describedNumber("0x" + number));
            }
        } else if (name == "data") {
            const Bytes bytes = describedBytes(value);
            file.insert(file.end(), bytes.begin(), bytes.end());
        } else if (name == "zeros" || name == "bytes") {
            file.resize((name == "zeros" ? file.size() : 0) + describedNumber(value));
        } else {
            if (name == "dxgi") append(file, kpx::DDS_HEADER_DXT10{0, 3, 0, 1, 0});
            if (name == "dxgi") set("code", kpx::fourCC("DX10"));
            if (name == "dxgi" || name == "code") set("pf", kpx::DDPF_FOURCC);
            set(name, describedNumber(value));
        }
    }
    return file;
}

}  // namespace testing_support
