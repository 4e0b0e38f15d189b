Attribute VB_Name = "QnPropStorageSample"
' A VBA module that keeps a property table in the stream its host application hands it,
' early-bound: build a table, write it, read it back, merge a table that supplies titles only, meet
' the two refusals a host must expect, and read the stream as the next host finds it. The same
' steps as samples/host.vbs, which the tests run; this module cannot be run here.
'
' Set-up: Tools > References > "Quillon Property Storage 1.0 Type Library" (QnPropStorageLib,
' registered with QnPropStorage.dll). The module prints to the Immediate window.
Option Explicit

' ---- The host ----------------------------------------------------------------------------------
' VBA cannot open an IStream or move one: the stream of a document's properties comes from the host
' application's own API (a document-management or drawing host hands out the property stream of a
' document). This module asks the object `host` for it:
'     host.CreateFileStream(path, "Properties")       a stream opened for reading and writing
'     host.OpenFileStream(path, "Properties", True)   the stream opened for reading only
'     host.Rewind stream                              the stream moved back to its start
'     host.StreamText(stream)                         the stream's content as text, to look at
' Connect these to your host's API. The sample helper QnPropStorageSample.Streams (samples/helper,
' registered as samples/README says) offers exactly these; with it registered:
'     QnPropStorageSample CreateObject("QnPropStorageSample.Streams"), "C:\Temp\sample.qnps"
' ReadProperties reads from the stream's position, so a stream is handed over at its start.
Private host As Object
Private path As String

Private Function HostStream(ByVal readOnly As Boolean) As IUnknown
    If readOnly Then
        Set HostStream = host.OpenFileStream(path, "Properties", True)
    Else
        Set HostStream = host.CreateFileStream(path, "Properties")
    End If
End Function

Private Function Rewound(ByVal stream As IUnknown) As IUnknown
    host.Rewind stream
    Set Rewound = stream
End Function

' ---- Building a table --------------------------------------------------------------------------
Private storage As QnPropStorageLib.IQnPropertyStorage
Private columnNames As Variant
Private columnTypes As Variant

' A table of `application` with the columns above, the first one with a caption and a direction.
' ColumnDefs and Rows are plain puts in the type library: they are assigned without Set.
Private Function NewTable(ByVal application As String) As QnPropStorageLib.IQnPSTable
    Dim table As QnPropStorageLib.IQnPSTable
    Dim definitions As QnPropStorageLib.IQnPSColumnDefCollection1
    Dim column As QnPropStorageLib.IQnPSColumnDef
    Dim i As Long
    Set table = storage.CreateQnPSObject(qnpsObjType_Table)
    table.ColumnDefs = storage.CreateQnPSObject(qnpsObjType_ColumnDefCollection)
    table.Rows = storage.CreateQnPSObject(qnpsObjType_RowCollection)
    table.Application = application
    Set definitions = table.GetColumnDefs(qnpsDefinitions_All)  ' the table's own collection
    For i = 0 To UBound(columnNames)
        Set column = storage.CreateQnPSObject(qnpsObjType_ColumnDef)
        column.Name = columnNames(i)
        column.PropType = columnTypes(i)
        column.Order = i
        definitions.AddDefinition column
    Next
    definitions.ColumnDef("Title").DispName = "Drawing title"
    definitions.ColumnDef("Title").Direction = qnpsPropDirection_FromDocument
    Set NewTable = table
End Function

' Appends a row `id` with a cell for each name, value pair.
Private Sub AddRow(ByVal table As QnPropStorageLib.IQnPSTable, ByVal id As String, ByVal cells As Variant)
    Dim row As QnPropStorageLib.IQnPSRow
    Dim cell As QnPropStorageLib.IQnPSProperty
    Dim i As Long
    Set row = storage.CreateQnPSObject(qnpsObjType_Row)
    row.RowID = id
    For i = 0 To UBound(cells) Step 2
        Set cell = storage.CreateQnPSObject(qnpsObjType_QnPSProperty)
        cell.ColumnDef = table.GetColumnDefs(qnpsDefinitions_All).ColumnDef(cells(i))
        cell.Value = cells(i + 1)
        row.AddItem cell
    Next
    table.Rows.AddItem row
End Sub

' ---- Showing a table ---------------------------------------------------------------------------
Private Function Two(ByVal n As Long) As String
    Two = Right("0" & n, 2)
End Function

' A value as this host shows it. The document gives back its own types: a date as a Double (the
' date's number, not a Date), a Bool as the Integer -1 or 0 (not a Boolean).
Private Function ValueText(ByVal value As Variant, ByVal propType As QnPropStorageLib.qnpsPropertyType) As String
    Dim d As Date
    If IsEmpty(value) Then
        ValueText = "(empty)"
    ElseIf propType = qnpsPropType_Bool Then
        If value <> 0 Then ValueText = "yes" Else ValueText = "no"
    ElseIf propType = qnpsPropType_Date Then
        d = CDate(value)
        ValueText = Year(d) & "-" & Two(Month(d)) & "-" & Two(Day(d)) & " " & Two(Hour(d)) & ":" & Two(Minute(d))
    Else
        ValueText = CStr(value)
    End If
End Function

Private Sub Show(ByVal title As String, ByVal table As QnPropStorageLib.IQnPSTable)
    Dim typeNames As Variant, direction As String, line As String, value As Variant, layouts As Variant
    Dim column As QnPropStorageLib.IQnPSColumnDef
    Dim row As QnPropStorageLib.IQnPSRow
    Dim cell As QnPropStorageLib.IQnPSProperty
    Dim i As Long
    typeNames = Array("String", "Int", "Date", "Double", "Bool")
    Debug.Print title & ", application " & table.Application
    ' The ordered selection: columns with an order of 0 or more, by order.
    For Each column In table.GetColumnDefs(qnpsDefinitions_Ordered)
        direction = ""
        If column.Direction = qnpsPropDirection_FromDocument Then direction = " FromDocument"
        If column.Direction = qnpsPropDirection_ToDocument Then direction = " ToDocument"
        Debug.Print "  column " & column.Name & " """ & column.DispName & """ " & _
                    typeNames(column.PropType) & direction
    Next
    For Each row In table.Rows
        line = "  " & row.RowID & ":"
        For i = 0 To UBound(columnNames)
            ' A row read from a document has a cell for every column; one without value is empty.
            Set cell = row.Property(columnNames(i))
            value = Empty
            If Not cell Is Nothing Then value = cell.Value
            If i > 0 Then line = line & ";"
            line = line & " " & columnNames(i) & "=" & ValueText(value, columnTypes(i))
        Next
        Debug.Print line
    Next
    ' The distinct values of the column "Layout", an array; Empty when no row has one.
    layouts = table.LayoutsNames
    If IsArray(layouts) Then Debug.Print "  layouts: " & Join(layouts, ", ") Else Debug.Print "  layouts: "
End Sub

' The refusal a host expects, as Err.Number: anything else, success included, stops the module.
Private Sub ExpectRefusal(ByVal number As Long, ByVal expected As Long, ByVal name As String, ByVal what As String)
    If number = 0 Then Err.Raise vbObjectError + 1, , what & " was accepted, expected " & name
    If number <> expected Then Err.Raise number
    Debug.Print what & " is refused: " & name & " (0x" & Hex(number) & ")"
End Sub

' ---- The module's steps ------------------------------------------------------------------------
Public Sub QnPropStorageSample(ByVal streamHost As Object, ByVal compoundFile As String)
    Dim stream As IUnknown
    Dim table As QnPropStorageLib.IQnPSTable, titles As QnPropStorageLib.IQnPSTable
    Dim refusal As Long
    Set host = streamHost
    path = compoundFile
    Set storage = New QnPropStorageLib.CQnPropStorage
    columnNames = Array("Title", "Sheets", "Issued", "Checked", "Layout")
    columnTypes = Array(qnpsPropType_String, qnpsPropType_Int, qnpsPropType_Date, qnpsPropType_Bool, _
                        qnpsPropType_String)
    Set stream = HostStream(False)

    ' The first table: two sheets of a drawing, one value of each type in R1.
    Set table = NewTable("Drafting")
    AddRow table, "R1", Array("Title", "Ground floor", "Sheets", 3, "Issued", DateSerial(2024, 3, 5) + TimeSerial(6, 0, 0), _
                              "Checked", True, "Layout", "Plan")
    AddRow table, "R2", Array("Title", "Roof", "Checked", False, "Layout", "Section")
    storage.WriteProperties Rewound(stream), table, qnpsWriteNormal
    ' The parser ends the declaration's line as its platform does: shown without line ends.
    Debug.Print "Wrote rows R1 and R2:" & vbCrLf & "  " & Replace(Replace(host.StreamText(stream), vbCr, ""), vbLf, "")
    Show "Read back", storage.ReadProperties(Rewound(stream))

    ' A module that knows only titles writes again. qnpsWriteNormal carries the values it does not
    ' supply over from the stream, by row identifier: R1 keeps its sheets, date, check and layout;
    ' R2, which the table lacks, is gone; R3 is new.
    Set titles = NewTable("Drafting")
    AddRow titles, "R1", Array("Title", "Ground floor, revised")
    AddRow titles, "R3", Array("Title", "Cellar")
    storage.WriteProperties Rewound(stream), titles, qnpsWriteNormal
    Debug.Print "Merged a table that supplies titles only"

    ' The stream holds a table of Drafting: another application's table is refused and nothing is
    ' written (qnpsOverwrite would write over it).
    On Error Resume Next
    storage.WriteProperties Rewound(stream), NewTable("Survey"), qnpsWriteNormal
    refusal = Err.Number
    On Error GoTo 0
    ExpectRefusal refusal, QNPS_E_WRONGAPPLICATION, "QNPS_E_WRONGAPPLICATION", "A table of another application"

    ' The stream as the next host finds it, opened for reading only.
    Set stream = HostStream(True)
    Show "After the merge", storage.ReadProperties(Rewound(stream))
    On Error Resume Next
    storage.WriteProperties Rewound(stream), titles, qnpsWriteNormal
    refusal = Err.Number
    On Error GoTo 0
    ExpectRefusal refusal, QNPS_E_STREAMISREADONLY, "QNPS_E_STREAMISREADONLY", "A stream opened for reading"

    Debug.Print "QnPropStorage sample: done"
End Sub
