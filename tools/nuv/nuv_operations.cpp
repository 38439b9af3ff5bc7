#include "tools/nuv/nuv_operations.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace nuv_tool {

namespace {

struct OperationWord {
    std::string_view name;
    std::string_view argument; // what the help shows behind "="; empty for words without one
    std::string_view help;
    // Turns the text behind "=" into the operation.
    Problem (*parse)(std::string_view argument, Operation& operation);
};

Problem append_mirror_x(NuvWrapperClass& job, ImageParam& picture)
{
    const bool bilevel = picture.bits == 1 && picture.channels == 1;
    if (!bilevel && picture.bits != 8 && picture.bits != 16)
        return "mirror-x serves samples of 8 and 16 bits, and of 1 bit in one channel";
    job.MirrorX();
    return {};
}

// The `parse` of a word without an argument.
template <Problem (*append)(NuvWrapperClass&, ImageParam&)>
Problem parse_plain(std::string_view, Operation& operation)
{
    operation.append = append;
    return {};
}

constexpr std::array operation_words{
    OperationWord{"mirror-x", "", "every line end for end", parse_plain<append_mirror_x>},
};

std::string usage(const OperationWord& word)
{
    std::string text{word.name};
    if (!word.argument.empty())
        text.append("=").append(word.argument);
    return text;
}

Problem parse_operation(std::string_view text, Operation& operation)
{
    const std::string_view name = text.substr(0, text.find('='));
    const auto word = std::ranges::find(operation_words, name, &OperationWord::name);
    if (word == operation_words.end())
        return "unknown operation " + quoted(text) + ", see nuv convert --help";
    const bool has_argument = name.size() < text.size();
    if (has_argument == word->argument.empty())
        return quoted(text) + " is not of the form " + usage(*word);
    return word->parse(has_argument ? text.substr(name.size() + 1) : std::string_view{}, operation);
}

} // namespace

Problem parse_operations(const std::vector<std::string>& words, std::vector<Operation>& operations)
{
    for (const std::string& word : words) {
        Operation operation;
        if (Problem problem = parse_operation(word, operation))
            return problem;
        operations.push_back(std::move(operation));
    }
    return {};
}

std::string operations_help()
{
    constexpr std::size_t column = 18;
    std::string text;
    for (const OperationWord& word : operation_words) {
        const std::string shown = usage(word);
        text.append("  ").append(shown);
        text.append(column - std::min(shown.size(), column - 1), ' ');
        text.append(word.help).append("\n");
    }
    return text;
}

} // namespace nuv_tool
