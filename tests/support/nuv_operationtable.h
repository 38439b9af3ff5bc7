#pragma once

#include "tests/support/nuv_checksum.h"
#include "tests/support/nuv_modelimage.h"

namespace nuv {

// An operation whose arguments are settled.
struct NUV_DrawnOperation {
    // Appends it to a chain, as often as it is called. False when it was refused.
    NUV_Append append;
    // The whole image that it gives. Where samples are missing, there is no plain model: they are
    // what the operation alone gives with portable code.
    NUV_ModelImage result;
};

// A row of the table of operations: what the harness needs to run one in every way there is.
struct NUV_OperationRow {
    std::string name; // letters, digits and underscores
    // The text of the status when nothing is in front; empty where the arguments choose it.
    std::string refusal;
    // Whether the operation takes that image, which may have no samples yet.
    std::function<bool(const NUV_ModelImage& image)> suits;
    // Draws arguments, and computes what they do to the whole image.
    std::function<NUV_DrawnOperation(const NUV_ModelImage& image, std::mt19937& random)> draw;
};

using NUV_OperationRows = std::span<const NUV_OperationRow>;

// An image that suits the row.
[[nodiscard]] NUV_ModelImage draw_image(const NUV_OperationRow& row, std::mt19937& random);

// A source, and operations behind it.
class NUV_TableChain {
public:
    explicit NUV_TableChain(NUV_ModelImage source);
    // The row's operation with arguments drawn.
    void add(const NUV_OperationRow& row, std::mt19937& random);
    // Up to `most` operations of the rows, where they suit.
    static NUV_TableChain draw(NUV_OperationRows rows, std::size_t most, std::mt19937& random);

    [[nodiscard]] bool build(NUV_TestChain& chain, Bytes bytes) const;
    [[nodiscard]] bool build(NUV_TestChain& chain) const { return build(chain, source_bytes_); }

    // The bytes that come out are those of the models, at every processor level, and so is the
    // header.
    void expect_whole() const;
    void add_result(NUV_Checksum& sum) const { sum.add(result_.bytes()); }
    // From a source that ends early comes the begin of the result, or of runs no more than it has.
    void expect_cut(std::mt19937& random) const;
    // From memory to memory, which may overlap and may be too short, everything is as it is when
    // each line is copied at both ends.
    void expect_same_in_memory(std::mt19937& random) const;
    // Nothing is left when the chain ends before and in the middle of a run.
    void expect_clean_teardown() const;
    void expect_clean_at_every_allocation() const;

private:
    NUV_ModelImage source_;
    NUV_ModelImage result_;
    Bytes source_bytes_;
    std::vector<NUV_Append> operations_;
    std::string text_;
};

} // namespace nuv
