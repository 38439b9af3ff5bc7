#include "tests/support/nuv_operationtable.h"

#include "core/storage/nuv_readstorage.h"
#include "core/storage/nuv_writestorage.h"
#include "framework/io/nuv_bytearrayinputstorage.h"
#include "framework/io/nuv_bytearrayoutputstorage.h"
#include "framework/io/nuv_decorator.h"

namespace nuv {

NUV_ModelImage draw_image(const NUV_OperationRow& row, std::mt19937& random)
{
    NUV_ModelImage image = NUV_ModelImage::draw(random);
    for (int left = 10000; left > 0 && !row.suits(image); --left)
        image = NUV_ModelImage::draw(random);
    EXPECT_TRUE(row.suits(image)) << "no image suits " << row.name;
    image.fill(random);
    return image;
}

NUV_TableChain::NUV_TableChain(NUV_ModelImage source)
    : source_(std::move(source)),
      result_(source_),
      source_bytes_(source_.bytes()),
      text_(source_.text())
{}

void NUV_TableChain::add(const NUV_OperationRow& row, std::mt19937& random)
{
    NUV_DrawnOperation drawn = row.draw(result_, random);
    if (drawn.result.samples.empty()) {
        NUV_TestChain chain(test_levels[0].cpu);
        chain.source_bytes(result_.description(), result_.bytes());
        ASSERT_TRUE(drawn.append(chain)) << row.name << ": " << chain.status().method;
        const auto bytes = chain.run_bytes();
        ASSERT_EQ(bytes.size(), drawn.result.line_bytes() * drawn.result.height) << row.name;
        drawn.result.samples_of(bytes);
    }
    result_ = std::move(drawn.result);
    operations_.push_back(std::move(drawn.append));
    text_ += "; " + row.name + " to " + result_.text();
}

NUV_TableChain NUV_TableChain::draw(NUV_OperationRows rows, std::size_t most, std::mt19937& random)
{
    NUV_ModelImage source = NUV_ModelImage::draw(random);
    source.fill(random);
    NUV_TableChain drawn(std::move(source));
    for (auto left = random() % (most + 1); left > 0; --left) {
        const NUV_OperationRow& row = rows[random() % rows.size()];
        if (row.suits(drawn.result_))
            drawn.add(row, random);
    }
    return drawn;
}

bool NUV_TableChain::build(NUV_TestChain& chain, Bytes bytes) const
{
    chain.source_bytes(source_.description(), std::move(bytes));
    return std::all_of(operations_.begin(), operations_.end(),
                       [&](const NUV_Append& append) { return append(chain); });
}

void NUV_TableChain::expect_whole() const
{
    SCOPED_TRACE(text_);
    const auto wanted = result_.bytes();
    for (const NUV_TestLevel& level : test_levels) {
        if (!level.runs_here())
            continue;
        SCOPED_TRACE(level.name);
        NUV_TestChain chain(level.cpu);
        ASSERT_TRUE(build(chain)) << chain.status().method;
        const NUV_Header& header = chain.header();
        const bool is_signed = header.data_type() == NUV_DataType::s_integer;
        EXPECT_EQ((NUV_ModelImage{header.width(), header.height(), header.channels(), header.bits(),
                                  is_signed, header.color_type(), header.encode_type()})
                      .text(),
                  result_.text());
        EXPECT_TRUE(is_signed || header.data_type() == NUV_DataType::u_integer);
        EXPECT_TRUE(chain.run_bytes() == wanted);
        EXPECT_EQ(chain.status().code, NUV_STATUS_OK) << chain.status().method;
        if (!source_.has_padding())
            continue;
        // Lines that are only moved keep what stands there.
        auto bytes = source_bytes_;
        source_.pad(bytes, true);
        NUV_TestChain padded(level.cpu);
        ASSERT_TRUE(build(padded, std::move(bytes)));
        auto got = padded.run_bytes();
        result_.pad(got, false);
        EXPECT_TRUE(got == wanted) << "with padding";
    }
}

void NUV_TableChain::expect_cut(std::mt19937& random) const
{
    SCOPED_TRACE(text_);
    Bytes bytes = source_bytes_;
    bytes.resize(random() % bytes.size());
    NUV_TestChain chain;
    ASSERT_TRUE(build(chain, std::move(bytes)));
    const auto got = chain.run_bytes();
    const auto whole = result_.bytes();
    ASSERT_LE(got.size(), std::max(whole.size(), std::size_t{16} * result_.height));
    if (source_.is_raw() && result_.is_raw()) {
        EXPECT_TRUE(std::equal(got.begin(), got.end(), whole.begin())) << got.size() << " bytes";
    }
}

void NUV_TableChain::expect_same_in_memory(std::mt19937& random) const
{
    SCOPED_TRACE(text_);
    const auto size = [&random](std::size_t whole) { // often whole
        whole = std::max<std::size_t>(whole, 1);
        return static_cast<int>(random() % 2 != 0 ? whole + random() % 3 : 1 + random() % whole);
    };
    const int bytes = size(source_bytes_.size());
    const int room = size(result_.bytes().size());
    const int from = static_cast<int>(random() % 8);
    const int to = random() % 2 != 0
                       ? from + bytes + static_cast<int>(random() % 2)
                       : static_cast<int>(random() % static_cast<unsigned>(bytes + 9));
    const auto byte_order = static_cast<std::int32_t>(random() % 2);
    const auto run = [&](bool copies) {
        Bytes memory(static_cast<std::size_t>(from + bytes + room + 16), 0xEE);
        std::copy_n(source_bytes_.begin(),
                    std::min(source_bytes_.size(), static_cast<std::size_t>(bytes)),
                    memory.begin() + from);
        NUV_TestChain chain;
        NUV_Manager& manager = chain.manager();
        NUV_Header header(manager);
        fill_header(header, source_.description());
        NUV_Held<NUV_InputStorage> in =
            make_initiated<NUV_ByteArrayInputStorage>(manager, memory.data() + from, bytes);
        NUV_Held<NUV_OutputStorage> out =
            make_initiated<NUV_ByteArrayOutputStorage>(manager, memory.data() + to, room);
        if (copies) { // neither passes on what is lent
            in = make_initiated<NUV_InputStorageDecorator>(manager, in.get());
            out = make_initiated<NUV_OutputStorageDecorator>(manager, out.get());
        }
        chain.last(NUV_ReadStorage(manager).engine(in.get(), &header, 0, 0, 1));
        for (const NUV_Append& append : operations_)
            EXPECT_TRUE(append(chain));
        NUV_Engine* writer =
            NUV_WriteStorage(manager).engine(chain.last(), out.get(), 0, 0, 0, byte_order);
        int steps = 1;
        while (writer && writer->execute())
            ++steps;
        if (writer)
            writer->end();
        return std::tuple(memory, std::string(chain.status().method), chain.status().code,
                          out->size(), steps);
    };
    EXPECT_TRUE(run(true) == run(false)) << from << '+' << bytes << " to " << to << '+' << room;
}

void NUV_TableChain::expect_clean_teardown() const
{
    SCOPED_TRACE(text_);
    for (unsigned gets = 0; gets < 4; ++gets) {
        NUV_TestChain chain;
        ASSERT_TRUE(build(chain));
        NUV_Held<NUV_SrcBuffer> reader(chain.last()->src_buffer());
        for (unsigned left = gets; left > 0; --left) {
            std::uint32_t count = 0;
            EXPECT_TRUE(!reader->get(&count) || reader->release());
        }
    }
}

void NUV_TableChain::expect_clean_at_every_allocation() const
{
    SCOPED_TRACE(text_);
    nuv::expect_clean_at_every_allocation([&](NUV_TestChain& chain) {
        static_cast<void>(build(chain));
        static_cast<void>(chain.run_bytes());
    });
}

} // namespace nuv
