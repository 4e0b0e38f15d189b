#include "PropertyTable.h"

#include "com/Bstr.h"
#include "ToolError.h"

namespace qnps {
namespace {

using com::ComPtr;
using com::ThrowIfFailed;
using com::UniqueBstr;

std::wstring Text(const UniqueBstr& text) { return std::wstring(text.get() ? text.get() : L"", com::BstrLength(text.get())); }

UniqueBstr Bstr(const std::wstring& text) {
    UniqueBstr copy(::SysAllocStringLen(text.data(), static_cast<UINT>(text.size())));
    if (!copy) com::ThrowOutOfMemory();
    return copy;
}

// The items of a collection that are of the given type, through the interface that type has.
template <class I>
std::vector<ComPtr<I>> Items(IQnPSCollection* collection, qnpsObjectType type) {
    std::vector<ComPtr<I>> items;
    if (!collection) return items;
    long count = 0, low = 0;
    ThrowIfFailed(collection->get_Count(&count));
    ThrowIfFailed(collection->get_LowBound(&low));
    for (long i = low; i < low + count; ++i) {
        ComPtr<IQnPSObject> item;
        ThrowIfFailed(collection->get_Item(i, item.put()));
        qnpsObjectType itemType = qnpsObjType_Unknown;
        if (item && SUCCEEDED(item->get_Type(&itemType)) && itemType == type) items.push_back(item.template query<I>());
    }
    return items;
}

template <class I>
ComPtr<I> Create(IQnPropertyStorage* storage, qnpsObjectType type) {
    ComPtr<IQnPSObject> object;
    ThrowIfFailed(storage->CreateQnPSObject(type, object.put()));
    return object.query<I>();
}

ComPtr<IUnknown> Identity(IUnknown* object) {
    ComPtr<IUnknown> identity;
    if (object) object->QueryInterface(IID_IUnknown, identity.put_void());
    return identity;
}

}  // namespace

long PropertyTable::FindColumn(const std::wstring& name) const {
    for (size_t i = 0; i < columns.size(); ++i)
        if (com::NamesEqual(columns[i].name.c_str(), name.c_str())) return static_cast<long>(i);
    return -1;
}

PropertyTable PropertyTable::Read(IQnPSTable* table) {
    PropertyTable result;
    UniqueBstr application;
    ThrowIfFailed(table->get_Application(application.put()));
    result.application = Text(application);

    ComPtr<IQnPSColumnDefCollection> definitions;
    ThrowIfFailed(table->GetColumnDefs(qnpsDefinitions_All, definitions.put()));
    std::vector<ComPtr<IUnknown>> identities;
    for (const auto& definition : Items<IQnPSColumnDef>(definitions.get(), qnpsObjType_ColumnDef)) {
        Column column;
        UniqueBstr name, displayName;
        qnpsPropertyType type;
        qnpsPropertyDirection direction;
        VARIANT_BOOL hidden;
        ThrowIfFailed(definition->get_Name(name.put()));
        ThrowIfFailed(definition->get_DispName(displayName.put()));
        ThrowIfFailed(definition->get_PropType(&type));
        ThrowIfFailed(definition->get_Direction(&direction));
        ThrowIfFailed(definition->get_Hidden(&hidden));
        ThrowIfFailed(definition->get_Order(&column.order));
        column.name = Text(name);
        column.displayName = Text(displayName);
        column.type = type;
        column.direction = direction;
        column.hidden = hidden != VARIANT_FALSE;
        result.columns.push_back(std::move(column));
        identities.push_back(Identity(definition.get()));
    }

    ComPtr<IQnPSRowCollection> rows;
    ThrowIfFailed(table->get_Rows(rows.put()));
    for (const auto& row : Items<IQnPSRow>(rows.get(), qnpsObjType_Row)) {
        Row data;
        UniqueBstr id;
        ThrowIfFailed(row->get_RowID(id.put()));
        data.id = Text(id);
        data.cells.resize(result.columns.size());
        for (const auto& cell : Items<IQnPSProperty>(row.get(), qnpsObjType_QnPSProperty)) {
            ComPtr<IQnPSColumnDef> definition;
            ThrowIfFailed(cell->get_ColumnDef(definition.put()));
            if (!definition) continue;
            // A cell belongs to the very definition object it links; only a foreign one is
            // matched by name.
            const auto identity = Identity(definition.get());
            long column = -1;
            for (size_t i = 0; i < identities.size() && column < 0; ++i)
                if (identities[i].get() == identity.get()) column = static_cast<long>(i);
            if (column < 0) {
                UniqueBstr name;
                ThrowIfFailed(definition->get_Name(name.put()));
                column = result.FindColumn(Text(name));
            }
            if (column < 0 || data.cells[column].present) continue;
            data.cells[column].present = true;
            ThrowIfFailed(cell->get_Value(data.cells[column].value.put()));
        }
        result.rows.push_back(std::move(data));
    }
    return result;
}

ComPtr<IQnPSTable> PropertyTable::Build(IQnPropertyStorage* storage) const {
    auto table = Create<IQnPSTable>(storage, qnpsObjType_Table);
    if (!application.empty()) ThrowIfFailed(table->put_Application(Bstr(application).get()));

    auto definitions = Create<IQnPSColumnDefCollection>(storage, qnpsObjType_ColumnDefCollection);
    std::vector<ComPtr<IQnPSColumnDef>> made;
    for (const Column& column : columns) {
        auto definition = Create<IQnPSColumnDef>(storage, qnpsObjType_ColumnDef);
        ThrowIfFailed(definition->put_Name(Bstr(column.name).get()));
        if (!column.displayName.empty()) ThrowIfFailed(definition->put_DispName(Bstr(column.displayName).get()));
        ThrowIfFailed(definition->put_PropType(static_cast<qnpsPropertyType>(column.type)));
        ThrowIfFailed(definition->put_Direction(static_cast<qnpsPropertyDirection>(column.direction)));
        ThrowIfFailed(definition->put_Hidden(column.hidden ? VARIANT_TRUE : VARIANT_FALSE));
        ThrowIfFailed(definition->put_Order(column.order));
        ThrowIfFailed(definitions->AddItem(definition.query<IQnPSObject>().get()));
        made.push_back(definition);
    }
    ThrowIfFailed(table->put_ColumnDefs(definitions.get()));

    auto rowCollection = Create<IQnPSRowCollection>(storage, qnpsObjType_RowCollection);
    for (const Row& data : rows) {
        auto row = Create<IQnPSRow>(storage, qnpsObjType_Row);
        ThrowIfFailed(row->put_RowID(Bstr(data.id).get()));
        for (size_t i = 0; i < data.cells.size(); ++i) {
            if (!data.cells[i].present) continue;
            auto cell = Create<IQnPSProperty>(storage, qnpsObjType_QnPSProperty);
            ThrowIfFailed(cell->put_ColumnDef(made[i].get()));
            ThrowIfFailed(cell->put_Value(data.cells[i].value.get()));
            ThrowIfFailed(row->AddItem(cell.query<IQnPSObject>().get()));
        }
        ThrowIfFailed(rowCollection->AddItem(row.query<IQnPSObject>().get()));
    }
    ThrowIfFailed(table->put_Rows(rowCollection.get()));
    return table;
}

}  // namespace qnps
