#include "tests/model/tables.h"

#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace model {

std::vector<std::vector<std::string>> rowsOf(const std::string& path) {
    std::ifstream file(KPX_SOURCE_DIR "/" + path);
    if (!file) throw std::runtime_error("cannot read " + path);
    std::vector<std::vector<std::string>> rows;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with('#')) continue;
        std::istringstream columns(line);
        rows.emplace_back();
        for (std::string column; std::getline(columns, column, '\t');) rows.back().push_back(column);
    }
    return rows;
}

const Partition& partitionOf(int subsets, int number) {
    static const std::vector<Partition> partitions = [] {
        std::vector<Partition> all;
        for (const auto& row : rowsOf("tests/model/partitions.tsv")) {
            Partition& partition = all.emplace_back();
            for (std::size_t t = 0; t < 16; ++t) partition.subsets[t] = row[1][t] - '0';
            partition.isAnchor[0] = true;
            for (std::size_t i = 2; i < row.size(); ++i) partition.isAnchor[std::stoul(row[i])] = true;
        }
        return all;
    }();
    static const Partition whole = {{}, {true}};
    return subsets == 1 ? whole : partitions.at(static_cast<std::size_t>(64 * (subsets - 2) + number));
}

const std::vector<Bc6hMode>& bc6hModes() {
    static const std::vector<Bc6hMode> modes = [] {
        std::vector<Bc6hMode> all;
        for (const auto& row : rowsOf("tests/model/bc6hModes.tsv")) {
            Bc6hMode& mode = all.emplace_back(Bc6hMode{
                std::stoi(row[0]), std::stoi(row[1]), std::stoi(row[2]), row[3] == "1", std::stoi(row[4]), {}, {}});
            std::istringstream(row[5]) >> mode.deltaBits[0] >> mode.deltaBits[1] >> mode.deltaBits[2];
            std::istringstream fields(row[6]);
            for (std::string field; fields >> field;) {
                const std::size_t colon = field.find(':');
                const int high = std::stoi(field.substr(2));
                const int low = colon == std::string::npos ? high : std::stoi(field.substr(colon + 1));
                mode.fields.push_back(
                    {std::string("wxyz").find(field[1]), std::string("rgb").find(field[0]), high, low});
            }
        }
        return all;
    }();
    return modes;
}

const std::vector<Bc7Mode>& bc7Modes() {
    static const std::vector<Bc7Mode> modes = [] {
        std::vector<Bc7Mode> all;
        for (const auto& row : rowsOf("tests/model/bc7Modes.tsv")) {
            std::array<int, 9> n{};
            for (std::size_t i = 0; i < n.size(); ++i) n[i] = std::stoi(row.at(i));
            all.push_back({n[0], n[1], n[2], n[3], n[4], n[5], n[6], n[7], n[8]});
        }
        return all;
    }();
    return modes;
}

}  // namespace model
