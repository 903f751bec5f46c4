#include "tables/edsc/hfa/designs.h"

#include "tables/edsc/designs.h"

#include <cstddef>

namespace emantle::tables {

namespace {

constexpr mif::Field kTableFields[] = {{"numrows", offsetof(TableRecord, numrows)}};
constexpr mif::Field kColumnFields[] = {{"numRows", offsetof(ColumnRecord, numRows)},
                                        {"columnDataPtr", offsetof(ColumnRecord, columnDataPtr)},
                                        {"dataType", offsetof(ColumnRecord, dataType)},
                                        {"maxNumChars", offsetof(ColumnRecord, maxNumChars)}};
constexpr mif::Field kWholeColumnFields[] = {{"column", offsetof(WholeColumnRecord, column)},
                                             {"data", offsetof(WholeColumnRecord, data)}};

constinit mif::OwnDesign tableDesign_(ownDictionary, "{1:lnumrows,}Edsc_Table,",
                                      mif::recordOf<TableRecord>(kTableFields));
constinit mif::OwnDesign columnDesign_(ownDictionary,
                                       "{1:lnumRows,1:LcolumnDataPtr,1:e4:integer,real,complex,string,dataType,"
                                       "1:lmaxNumChars,}Edsc_Column,",
                                       mif::recordOf<ColumnRecord>(kColumnFields));
constinit mif::OwnDesign wholeColumnDesign_(ownDictionary, "{1:*oEdsc_Column,column,0:pCdata,}Edsc_HFA_Column,",
                                            mif::recordOf<WholeColumnRecord>(kWholeColumnFields));

}  // namespace

Emif_Design* tableDesign(EerrException& scope) { return tableDesign_.fetch(scope); }

Emif_Design* columnDesign(EerrException& scope) { return columnDesign_.fetch(scope); }

Emif_Design* wholeColumnDesign(EerrException& scope)
{
    /* The design names the column's, which must be known by then. */
    columnDesign_.fetch(scope);
    return wholeColumnDesign_.fetch(scope);
}

}  // namespace emantle::tables
