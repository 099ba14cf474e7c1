#include "tests/model/tables.h"

#include <fstream>
#include <stdexcept>

namespace model {

std::vector<std::istringstream> rowsOf(const std::string& path) {
    std::ifstream file(KPX_SOURCE_DIR "/" + path);
    if (!file) throw std::runtime_error("cannot read " + path);
    std::vector<std::istringstream> rows;
    for (std::string line; std::getline(file, line);) {
        if (!line.starts_with('#')) rows.emplace_back(line);
    }
    return rows;
}

namespace {

std::vector<Partition> readPartitions() {
    std::vector<Partition> all;
    for (std::istringstream& row : rowsOf("tests/model/partitions.tsv")) {
        Partition& partition = all.emplace_back();
        std::string subsets;
        row >> subsets >> subsets;
        for (std::size_t t = 0; t < 16; ++t) partition.subsets[t] = subsets.at(t) - '0';
        partition.isAnchor[0] = true;
        for (std::size_t anchor = 0; row >> anchor;) partition.isAnchor.at(anchor) = true;
    }
    return all;
}

std::vector<Bc6hMode> readBc6hModes() {
    std::vector<Bc6hMode> all;
    for (std::istringstream& row : rowsOf("tests/model/bc6hModes.tsv")) {
        Bc6hMode& mode = all.emplace_back();
        row >> mode.value >> mode.modeBits >> mode.regions >> mode.transformed >> mode.precision;
        for (int& bits : mode.deltaBits) row >> bits;
        for (std::string text; row >> text;) {
            Bc6hField field{std::string("wxyz").find(text.at(1)), std::string("rgb").find(text[0]), 0, 0};
            field.high = field.low = std::stoi(text.substr(2));
            if (const std::size_t colon = text.find(':'); colon != std::string::npos) {
                field.low = std::stoi(text.substr(colon + 1));
            }
            mode.fields.push_back(field);
        }
    }
    return all;
}

std::vector<Bc7Mode> readBc7Modes() {
    std::vector<Bc7Mode> all;
    for (std::istringstream& row : rowsOf("tests/model/bc7Modes.tsv")) {
        Bc7Mode& m = all.emplace_back();
        row >> m.subsets >> m.partitionBits >> m.rotationBits >> m.selectionBits;
        row >> m.colourBits >> m.alphaBits >> m.pBits >> m.primaryBits >> m.secondaryBits;
    }
    return all;
}

}  // namespace

const Partition& partitionOf(int subsets, int number) {
    static const std::vector<Partition> partitions = readPartitions();
    static const Partition whole = {{}, {true}};
    return subsets == 1 ? whole : partitions.at(static_cast<std::size_t>(64 * (subsets - 2) + number));
}

const std::vector<Bc6hMode>& bc6hModes() {
    static const std::vector<Bc6hMode> modes = readBc6hModes();
    return modes;
}

const std::vector<Bc7Mode>& bc7Modes() {
    static const std::vector<Bc7Mode> modes = readBc7Modes();
    return modes;
}

}  // namespace model
