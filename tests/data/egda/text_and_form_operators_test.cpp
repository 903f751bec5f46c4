#include "data/egda/operators_support.h"

namespace {

using namespace operators_test;

/* Heap texts, as records of strings own them. */
struct Texts {
    Base base;
    explicit Texts(const std::vector<const char*>& texts)
        : base(makeBase(1, static_cast<long>(texts.size()), EGDA_TYPE_STRING))
    {
        egda_BaseDataSet(base.get(), texts.data(), EGDA_SET_ALL, 0, nullptr);
    }
    std::vector<std::string> values() const
    {
        std::vector<std::string> all;
        for (const char* text : elements<const char*>(*base)) {
            all.emplace_back(text == nullptr ? "(null)" : text);
        }
        return all;
    }
};

TEST(Texts, CompareBySign)
{
    const Texts a({"b", "b", "b"});
    const Texts b({"a", "b", "c"});
    struct Case {
        long op;
        std::vector<std::uint8_t> expected;
    };
    for (const Case& c : {Case{EGDA_OP_EQ, {0, 1, 0}}, Case{EGDA_OP_NE, {1, 0, 1}}, Case{EGDA_OP_GT, {1, 0, 0}},
                          Case{EGDA_OP_GE, {1, 1, 0}}, Case{EGDA_OP_LT, {0, 0, 1}}, Case{EGDA_OP_LE, {0, 1, 1}}}) {
        Base dest = makeBase(1, 3, EGDA_TYPE_U8);
        Egda_BaseData* sources[] = {a.base.get(), b.base.get()};
        Report report;
        egda_BaseDataOperation(c.op, dest.get(), sources, 2, report);
        EXPECT_EQ(report.text(), "");
        EXPECT_EQ(elements<std::uint8_t>(*dest), c.expected) << c.op;
    }
}

TEST(Texts, AreCopiedAndFilledUnderAMask)
{
    const Texts source({"one", "two", "three"});
    const Texts dest({"x", "y", "z"});
    Base mask = makeBase(1, 3, EGDA_TYPE_U8);
    static_cast<std::uint8_t*>(mask->data)[1] = 1;
    Egda_BaseData* from = source.base.get();
    Egda_BaseDataStack stack{1, 1, &from, 0};
    Egda_BaseDataStack* stacks = &stack;
    Egda_BaseDataStackArray array{1, &stacks, mask.get()};
    Egda_BaseData* to = dest.base.get();
    Egda_BaseDataStack destStack{1, 1, &to, 0};
    Report report;
    egda_BaseDataStackOperation(EGDA_OP_COPY, &destStack, &array, report);
    EXPECT_EQ(dest.values(), (std::vector<std::string>{"x", "two", "z"}));
    array.mask = nullptr;
    egda_BaseDataStackOperation(EGDA_OP_FILL, &destStack, &array, report);
    EXPECT_EQ(dest.values(), (std::vector<std::string>{"one", "one", "one"}));
    EXPECT_EQ(source.values(), (std::vector<std::string>{"one", "two", "three"}));
    egda_BaseDataStackOperation(EGDA_OP_COPY, &destStack, &array, report);
    EXPECT_EQ(dest.values(), source.values());
}

TEST(Forms, ComplexNumbersOfTwoParts)
{
    const Row real(EGDA_TYPE_S16, std::vector<std::int16_t>{1, -2});
    const Row imaginary(EGDA_TYPE_S16, std::vector<std::int16_t>{3, 4});
    const Row narrow(EGDA_TYPE_C64, std::vector<Egda_Complex64>(2));
    const Row wide(EGDA_TYPE_C128, std::vector<Egda_Complex128>(2));
    for (const Row* dest : {&narrow, &wide}) {
        Egda_BaseData* layers[] = {real.base.get(), imaginary.base.get(), dest->base.get()};
        Egda_BaseDataStack stacks[] = {{1, 1, &layers[0], 0}, {1, 1, &layers[1], 0}, {1, 1, &layers[2], 0}};
        Egda_BaseDataStack* sources[] = {&stacks[0], &stacks[1]};
        const Egda_BaseDataStackArray array{2, sources, nullptr};
        Report report;
        egda_BaseDataStackFunction(emsc_AddressOf_egda_MaoFormComplex(), &stacks[2], &array, report);
        EXPECT_EQ(report.text(), "");
    }
    EXPECT_EQ(elements<Egda_Complex64>(*narrow.base)[1].real, -2);
    EXPECT_EQ(elements<Egda_Complex64>(*narrow.base)[1].imaginary, 4);
    EXPECT_EQ(elements<Egda_Complex128>(*wide.base)[0].imaginary, 3);
}

}  // namespace
