#pragma once

#include <emantle/data/egda.h>

#include <vector>

/* Records that stay for a run, and what each operation wants of them. */

namespace operands {

/* A square record of numbers from 1 to 100, the same one for the same arguments. */
Egda_BaseData* operand(long side, int type, int which, long object = EGDA_RASTER_OBJECT);

/* Half of its bytes are 0. */
Egda_BaseData* mask(long side);

/* Which of the operands sources are not. */
inline constexpr int kDest = 8;

/* The arguments of one operation. */
class Arguments {
public:
    /* `op` by its number for sources of `type`; a fold may have more than two. */
    Arguments(long op, int type, long side, bool masked, int folded = 2);

    /* False where the operation does not serve the type or refuses the arguments. */
    bool run() const;
    void call() const { egda_BaseDataStackOperation(op_, &dest_, &array_, nullptr); }

    Egda_BaseData* dest() const { return destLayers_[0]; }
    /* The bytes that it must read and write for one byte of the first layer of the destination. */
    double traffic() const;

private:
    void add(std::vector<Egda_BaseData*> layers) { sources_.push_back(std::move(layers)); }
    void addScalars(const std::vector<double>& values);
    void addData(int type, int count);
    void arrange(int type, int folded);
    void arrangeGroup(int type);
    void arrangeMatrices(int type);
    void arrangeBins(int type);

    long op_;
    long side_;
    std::vector<std::vector<Egda_BaseData*>> sources_;
    std::vector<Egda_BaseData*> destLayers_;
    std::vector<Egda_BaseDataStack> stacks_;
    std::vector<Egda_BaseDataStack*> pointers_;
    mutable Egda_BaseDataStack dest_{};
    Egda_BaseDataStackArray array_{};
};

/* The name of an operation's table, and of its check as the list of operations has it. */
const char* tableName(long op);
const char* checkName(long op);

/* What the check of an operation asks of a destination for real sources of a type. */
int destTypeFor(long op, int type);

/* Operations whose operands are not alike, or not elements. */
bool hasOwnArguments(long op);

}  // namespace operands
