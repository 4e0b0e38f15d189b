#pragma once

#include "com/Platform.h"

#include <string>
#include <vector>

#include "QnPropStorage.h"
#include "com/ComPtr.h"
#include "com/UniqueVariant.h"

namespace qnps {

// A property table as plain data, columns in the table's order and each row's cells by column:
// what the tool reads out of the library's table, and what it builds one from.
class PropertyTable {
public:
    struct Column {
        std::wstring name;
        std::wstring displayName;
        long type = qnpsPropType_String;
        long direction = qnpsPropDirection_Any;
        bool hidden = false;
        long order = -1;
    };
    // A cell the row does not have differs from one that is empty: on a merge, the first keeps
    // the stream's value and the second removes it.
    struct Cell {
        bool present = false;
        com::UniqueVariant value;
    };
    struct Row {
        std::wstring id;
        std::vector<Cell> cells;  // one per column
    };

    std::wstring application;
    std::vector<Column> columns;
    std::vector<Row> rows;

    static PropertyTable Read(IQnPSTable* table);
    com::ComPtr<IQnPSTable> Build(IQnPropertyStorage* storage) const;
    // The column of that name, compared as the library compares names; -1 when there is none.
    long FindColumn(const std::wstring& name) const;
};

}  // namespace qnps
