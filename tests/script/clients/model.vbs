' A VBScript host building and querying a property table through dispatch alone.
' ctest runs it joined after lib/Checks.vbs, which holds the checks and the closing line.

Const E_INVALIDARG = &H80070057
Const QNPS_E_UNKNOWNOBJECTTYPE = &H80048001
Const TYPE_E_ELEMENTNOTFOUND = &H8002802B
Const VB_TYPE_MISMATCH = 13
Const VB_NO_INTERFACE = 430

Dim storage, defs, rows, table

' VBScript shows E_INVALIDARG as its own error 5 when no error record comes with it.
Sub SameInvalidArg(number, what)
    Check number = E_INVALIDARG Or number = 5, what & ": expected E_INVALIDARG, got " & number
End Sub

' The capturing functions clear what they caught: this VBScript keeps Err set after they return.
Function ItemError(collection, index)
    On Error Resume Next
    Dim item
    Set item = collection(index)
    ItemError = Err.Number
    Err.Clear
End Function

Function RemoveError(collection, index)
    On Error Resume Next
    collection.Remove index
    RemoveError = Err.Number
    Err.Clear
End Function

Function CreateError(objectType)
    On Error Resume Next
    Dim created
    Set created = storage.CreateQnPSObject(objectType)
    CreateError = Err.Number
    Err.Clear
End Function

Function CustomPropertyError(target, name)
    On Error Resume Next
    Dim value
    value = target.CustomProperty(name)
    CustomPropertyError = Err.Number
    Err.Clear
End Function

Function NameError(def, value)
    On Error Resume Next
    def.Name = value
    NameError = Err.Number
    Err.Clear
End Function

Function TabOrderError(name)
    On Error Resume Next
    Dim order
    order = table.TabOrderByLayoutName(name)
    TabOrderError = Err.Number
    Err.Clear
End Function

Function AssignError(target, member, value)
    On Error Resume Next
    Select Case member
        Case "ColumnDef" : Set target.ColumnDef = value
        Case "Rows" : Set target.Rows = value
        Case "ColumnDefs" : Set target.ColumnDefs = value
    End Select
    AssignError = Err.Number
    Err.Clear
End Function

Function NamesOf(collection)
    Dim def, out
    For Each def In collection
        out = out & "," & def.Name
    Next
    NamesOf = Mid(out, 2)
End Function

Function RowIDsOf(collection)
    Dim row, out
    For Each row In collection
        out = out & "," & row.RowID
    Next
    RowIDsOf = Mid(out, 2)
End Function

Function ColumnsOf(row)
    Dim cell, out
    For Each cell In row
        out = out & "," & cell.ColumnDef.Name
    Next
    ColumnsOf = Mid(out, 2)
End Function

Function Column(name, propType, order)
    Set Column = storage.CreateQnPSObject(4)
    Column.Name = name
    Column.PropType = propType
    Column.Order = order
    defs.AddDefinition Column
End Function

' Cells come as name, value pairs; an Empty value leaves the cell as it was made.
Sub AddRow(id, cells)
    Dim row, cell, i
    Set row = storage.CreateQnPSObject(7)
    row.RowID = id
    For i = 0 To UBound(cells) Step 2
        Set cell = storage.CreateQnPSObject(2)
        Set cell.ColumnDef = defs.ColumnDef(cells(i))
        If Not IsEmpty(cells(i + 1)) Then cell.Value = cells(i + 1)
        row.AddItem cell
    Next
    rows.AddItem row
End Sub

Sub TestCreation
    Same storage.Type, CLng(3), "storage Type"
    Same storage.CreateQnPSObject(8).Type, CLng(8), "Type of a row collection"
    Same CreateError(0), QNPS_E_UNKNOWNOBJECTTYPE, "create 0"
    Same CreateError(3), QNPS_E_UNKNOWNOBJECTTYPE, "create 3"
    ' Out of range is no error: the host simply gets no object.
    Same CreateError(9), CLng(0), "create 9 error"
    Check storage.CreateQnPSObject(9) Is Nothing, "create 9 gives Nothing"
    Check storage.CreateQnPSObject(-1) Is Nothing, "create -1 gives Nothing"
End Sub

Sub TestBuilding
    Dim title
    Set table = storage.CreateQnPSObject(5)
    Set defs = storage.CreateQnPSObject(6)
    Set rows = storage.CreateQnPSObject(8)
    Column "Layout", 0, 2
    Column "TabOrder", 1, 0
    Set title = Column("Title", 0, -1)
    Column "Size", 3, 2
    Column "Part_No", 0, -1
    title.DispName = "Document title"
    title.Hidden = True

    AddRow "R1", Array("Layout", "Sheet1", "TabOrder", CLng(2), "Title", "B", "Size", 2.5)
    AddRow "R2", Array("Layout", "SHEET1", "TabOrder", CLng(5), "Title", "a")
    AddRow "R3", Array("Layout", "Model", "TabOrder", 7, "Title", "B", "Size", Null)
    AddRow "R4", Array("Layout", Empty, "Title", Empty)
    AddRow "R5", Array("Layout", 3, "TabOrder", CLng(9), "Title", Null)
    AddRow "r1", Array("Title", "A", "Layout", "Sheet1")

    table.ColumnDefs = defs
    Set table.Rows = rows
    table.Application = "Drafting"
    Same table.Application, "Drafting", "Application"
    Same table.Rows.Count, CLng(6), "table Rows Count"
End Sub

Sub TestDefinitions
    Dim probe, all
    Same defs.Count, CLng(5), "definitions Count"
    Same NamesOf(defs), "Layout,TabOrder,Title,Size,Part_No", "definitions in order"
    Same defs.ColumnDef("part_no").Name, "Part_No", "ColumnDef ignores case"
    Check defs.ColumnDef("Missing") Is Nothing, "ColumnDef of an unknown name is Nothing"
    Same TypeName(defs.ColumnDef("title")), "IQnPSColumnDef", "TypeName of a definition"
    Same defs.ColumnDef("title").Hidden, True, "Hidden"
    Same defs(1).PropType, CLng(1), "PropType of TabOrder"

    Set probe = storage.CreateQnPSObject(4)
    probe.Name = "SIZE"
    Same defs.HasDefinition(probe), True, "HasDefinition of another case"
    defs.AddDefinition probe
    Same defs.Count, CLng(5), "AddDefinition of a duplicate adds nothing"
    probe.Name = "Nowhere"
    Same defs.HasDefinition(probe), False, "HasDefinition of an unknown name"
    Same NameError(probe, Null), CLng(VB_TYPE_MISMATCH), "Name put Null"
    Same probe.Name, "Nowhere", "Name kept after a refused put"

    Same NamesOf(table.GetColumnDefs(1)), "TabOrder,Layout,Size", "ordered definitions"
    Same NamesOf(table.GetColumnDefs(2)), "Title,Part_No", "unordered definitions"
    Same NamesOf(table.GetColumnDefs(0)), "Title,Part_No", "selection 0 is unordered"
    ' All hands out the table's own collection: adding through it changes the table.
    Set all = table.GetColumnDefs(3)
    all.AddItem probe
    Same defs.Count, CLng(6), "GetColumnDefs(3) is the table's collection"
    SameInvalidArg RemoveError(defs, 6), "Remove(Count)"
    Same defs.Count, CLng(6), "Count after a refused Remove"
    defs.Remove 5
    Same NamesOf(defs), "Layout,TabOrder,Title,Size,Part_No", "definitions after Remove"
End Sub

Sub TestRows
    Same rows.Count, CLng(6), "rows Count"
    Same rows.LowBound, CLng(0), "rows LowBound"
    Same rows(0).RowID, "R1", "default member"
    Same rows.Item(4).RowID, "R5", "Item(4)"
    Same TypeName(rows(1)), "IQnPSRow", "TypeName of a row"
    SameInvalidArg ItemError(rows, -1), "Item(-1)"
    SameInvalidArg ItemError(rows, 6), "Item(Count)"
    SameInvalidArg RemoveError(rows, 6), "rows Remove(Count)"
    Same RowIDsOf(rows), "R1,R2,R3,R4,R5,r1", "rows in order"
    Same ColumnsOf(rows(0)), "Layout,TabOrder,Title,Size", "cells in order"

    Same rows.RowByID("r1")(0).Value, "Sheet1", "RowByID ignores case, first wins"
    Check rows.RowByID("Absent") Is Nothing, "RowByID of an unknown id"
    ' Values compare with case and variant type, unlike names and RowIDs.
    Same rows.Row("Layout", "Sheet1").RowID, "R1", "Row by Sheet1"
    Same rows.Row("LAYOUT", "SHEET1").RowID, "R2", "Row by SHEET1"
    Check rows.Row("Layout", "sheet1") Is Nothing, "Row by sheet1 finds nothing"
    Same rows.Row("TabOrder", CLng(5)).RowID, "R2", "Row by the Long 5"
    Check rows.Row("TabOrder", 5) Is Nothing, "Row by the Integer 5 finds nothing"
    Same rows.Row("Title", Null).RowID, "R5", "Row by Null"

    Same rows(1).Property("TABORDER").Value, CLng(5), "row Property"
    Check rows(1).Property("Size") Is Nothing, "row Property of a missing cell"
    Same table.Property("r2", "title").Value, "a", "table Property"
    Same table.Property("R1", "Title").Value, "B", "table Property takes the first R1"
    Check table.Property("R9", "Title") Is Nothing, "table Property of an unknown row"
End Sub

Sub TestArrays
    Dim name, out, bare
    SameArray rows.ColumnValues("Size"), Array(2.5, Empty, Null, Empty, Empty, Empty), "ColumnValues Size"
    SameArray rows.UniqueColumnValues("title"), Array("B", "a", "A"), "UniqueColumnValues Title"
    Same rows.UniqueColumnValues("Nope"), Empty, "UniqueColumnValues of a missing column"
    SameArray table.LayoutsNames, Array("Sheet1", "SHEET1", "Model", 3), "LayoutsNames"
    For Each name In table.LayoutsNames
        out = out & "," & name
    Next
    Same out, ",Sheet1,SHEET1,Model,3", "LayoutsNames by For Each"

    Same table.TabOrderByLayoutName("sheet1"), CLng(2), "TabOrder of sheet1"
    Same table.TabOrderByLayoutName("3"), CLng(9), "TabOrder of a layout held as a number"
    Same table.TabOrderByLayoutName("Model"), CLng(-1), "TabOrder held as an Integer"
    Same table.TabOrderByLayoutName("None"), CLng(-1), "TabOrder of an unknown layout"
    SameInvalidArg TabOrderError(""), "TabOrder of an empty name"

    Set bare = storage.CreateQnPSObject(5)
    Same bare.LayoutsNames, Empty, "LayoutsNames without rows"
    Check bare.GetColumnDefs(1) Is Nothing, "GetColumnDefs without definitions"
End Sub

Sub TestCustomProperties
    table.CustomProperty("Owner") = "drafting"
    table.CustomProperty("Owner") = "office"
    Same table.CustomProperty("Owner"), "office", "custom property keeps the last value"
    rows(0).CustomProperty("Seen") = CLng(5)
    Same rows(0).CustomProperty("Seen"), CLng(5), "custom property on a row"
    Same CustomPropertyError(table, "Absent"), TYPE_E_ELEMENTNOTFOUND, "custom property never put"
End Sub

Sub TestObjectAssignment
    Dim cell, row
    Set cell = storage.CreateQnPSObject(2)
    cell.ColumnDef = defs.ColumnDef("Part_No")
    cell.Value = "12"
    Set row = storage.CreateQnPSObject(7)
    row.AddItem cell
    Same row.Property("part_no").Value, "12", "cell linked by plain assignment"
    Set cell.ColumnDef = defs.ColumnDef("Title")
    Same row.Property("TITLE").Value, "12", "cell linked by Set"
    ' Script meets the dispatcher's type check first; the narrowing by type is what C++ sees.
    Same AssignError(cell, "ColumnDef", row), CLng(VB_NO_INTERFACE), "ColumnDef put with a row"
    Same cell.ColumnDef.Name, "Title", "ColumnDef kept after a row was refused"
    Same row.Property("Title").Value, "12", "cell found after the refusal"
    Same AssignError(table, "Rows", defs), CLng(VB_NO_INTERFACE), "Rows put with definitions"
    Same table.Rows.Count, CLng(6), "Rows kept after definitions were refused"
    Same AssignError(table, "ColumnDefs", rows), CLng(VB_NO_INTERFACE), "ColumnDefs put with rows"
    Same AssignError(table, "ColumnDefs", storage.CreateQnPSObject(1)), CLng(VB_NO_INTERFACE), _
         "ColumnDefs put with a plain collection"
    Same table.GetColumnDefs(3).Count, CLng(5), "ColumnDefs kept after the refusals"
End Sub

On Error Resume Next
Set storage = WScript.CreateObject("QnPropStorage.CQnPropStorage") : Report "server"
If Not IsObject(storage) Then WScript.Quit 1
TestCreation : Report "creation"
TestBuilding : Report "building"
TestDefinitions : Report "column definitions"
TestRows : Report "rows"
TestArrays : Report "arrays"
TestCustomProperties : Report "custom properties"
TestObjectAssignment : Report "object assignment"
On Error GoTo 0

Finish
