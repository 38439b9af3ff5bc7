#pragma once

#include "tools/nuv/nuv_inspection.h"

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace nuv_tool {

// What is told of pictures for people, in columns.
class InfoTable {
public:
    void add(const std::string& path, const Inspection& told);
    void print() const;

private:
    static constexpr std::size_t columns = 5; // name, size, samples, colour, kind and storing

    std::vector<std::array<std::string, columns>> rows_;
};

// What is told of one picture for programs, on a line of stdout. Every key is there; null stands
// for what is not known.
void print_json(const std::string& path, const InspectionOptions& options, const Inspection& told);

} // namespace nuv_tool
