' A script that keeps a property table in the stream its host hands it, late-bound from VBScript:
' build a table, write it, read it back, merge a table that supplies titles only, meet the two
' refusals a host must expect, and read the stream as the next host finds it. The same steps as
' host.js; samples/vba/QnPropStorage.bas takes them early-bound.
'
'   cscript //nologo host.vbs PATH-OF-COMPOUND-FILE
'
' A failing call raises an error; the script then stops before its last line, which says "done".
Option Explicit

Const qnpsObjType_QnPSProperty = 2, qnpsObjType_ColumnDef = 4, qnpsObjType_Table = 5
Const qnpsObjType_ColumnDefCollection = 6, qnpsObjType_Row = 7, qnpsObjType_RowCollection = 8
Const qnpsPropType_String = 0, qnpsPropType_Int = 1, qnpsPropType_Date = 2, qnpsPropType_Bool = 4
Const qnpsPropDirection_ToDocument = 1, qnpsPropDirection_FromDocument = 2
Const qnpsDefinitions_Ordered = 1, qnpsDefinitions_All = 3
Const qnpsWriteNormal = 0
Const QNPS_E_WRONGAPPLICATION = &H80048005, QNPS_E_STREAMISREADONLY = &H80048006

' ---- The host ----------------------------------------------------------------------------------
' A document host hands its scripts the stream of the document's properties (an IStream) through
' its own object model. The Windows Script Host has none, so the sample helper
' QnPropStorageSample.Streams (samples/helper, registered as samples/README says; not part of the
' library) plays the host here: it opens the stream "Properties" of a compound file, keeps the file
' open while the stream is in use, and moves the stream back to its start, which script cannot do;
' it also shows the stream's content as text. ReadProperties reads from the stream's position, so
' hosts hand streams over at their start.
Dim path, host, storage
path = "host.qnps"
If WScript.Arguments.Count > 0 Then path = WScript.Arguments(0)

' Says why the sample cannot go on and ends it with exit code 1. The message goes to standard
' error where the script host has one; Wine's has none, so there it goes to standard output.
Sub StopSample(why, number)
    Dim text
    text = "host.vbs: " & why & " (0x" & Hex(number) & ")"
    On Error Resume Next
    WScript.StdErr.WriteLine text
    If Err.Number <> 0 Then WScript.Echo text
    WScript.Quit 1
End Sub

Function Create(progId, remedy)
    On Error Resume Next
    Set Create = WScript.CreateObject(progId)
    If Err.Number <> 0 Then StopSample progId & " cannot be created: " & remedy, Err.Number
End Function

Set storage = Create("QnPropStorage.CQnPropStorage", "register QnPropStorage.dll (samples/README)")
Set host = Create("QnPropStorageSample.Streams", "register samples\QnPropStorageSampleStreams.dll (samples/README)")

Function HostStream(readOnly)
    On Error Resume Next
    If readOnly Then
        Set HostStream = host.OpenFileStream(path, "Properties", True)
    Else
        Set HostStream = host.CreateFileStream(path, "Properties")
    End If
    If Err.Number <> 0 Then StopSample "cannot open the stream ""Properties"" of " & path, Err.Number
End Function

Function Rewound(stream)
    host.Rewind stream
    Set Rewound = stream
End Function

' ---- Building a table --------------------------------------------------------------------------
Dim columnNames, columnTypes
columnNames = Array("Title", "Sheets", "Issued", "Checked", "Layout")
columnTypes = Array(qnpsPropType_String, qnpsPropType_Int, qnpsPropType_Date, qnpsPropType_Bool, _
                    qnpsPropType_String)

' A table of `application` with the columns above, the first one with a caption and a direction.
Function NewTable(application)
    Dim table, definitions, column, i
    Set table = storage.CreateQnPSObject(qnpsObjType_Table)
    Set table.ColumnDefs = storage.CreateQnPSObject(qnpsObjType_ColumnDefCollection)
    Set table.Rows = storage.CreateQnPSObject(qnpsObjType_RowCollection)
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
Sub AddRow(table, id, cells)
    Dim row, cell, i
    Set row = storage.CreateQnPSObject(qnpsObjType_Row)
    row.RowID = id
    For i = 0 To UBound(cells) Step 2
        Set cell = storage.CreateQnPSObject(qnpsObjType_QnPSProperty)
        Set cell.ColumnDef = table.GetColumnDefs(qnpsDefinitions_All).ColumnDef(cells(i))
        cell.Value = cells(i + 1)
        row.AddItem cell
    Next
    table.Rows.AddItem row
End Sub

' ---- Showing a table ---------------------------------------------------------------------------
Function Two(n)
    Two = Right("0" & n, 2)
End Function

' A value as this host shows it. The document gives back its own types: a date as a Double (the
' date's number, not a Date), a Bool as the Integer -1 or 0 (not a Boolean).
Function ValueText(value, propType)
    Dim d
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

Sub Show(title, table)
    Dim typeNames, column, direction, row, cell, line, value, layouts, names, name, i
    typeNames = Array("String", "Int", "Date", "Double", "Bool")
    WScript.Echo title & ", application " & table.Application
    ' The ordered selection: columns with an order of 0 or more, by order.
    For Each column In table.GetColumnDefs(qnpsDefinitions_Ordered)
        direction = ""
        If column.Direction = qnpsPropDirection_FromDocument Then direction = " FromDocument"
        If column.Direction = qnpsPropDirection_ToDocument Then direction = " ToDocument"
        WScript.Echo "  column " & column.Name & " """ & column.DispName & """ " & _
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
        WScript.Echo line
    Next
    ' The distinct values of the column "Layout", an array; Empty when no row has one. (Join would
    ' do, but Wine's VBScript lacks it.)
    layouts = table.LayoutsNames
    names = ""
    If IsArray(layouts) Then
        For Each name In layouts
            names = names & ", " & name
        Next
    End If
    WScript.Echo "  layouts: " & Mid(names, 3)
End Sub

' The refusal a host expects, as Err.Number: anything else, success included, stops the script.
Sub ExpectRefusal(number, expected, name, what)
    If number = 0 Then Err.Raise vbObjectError + 1, , what & " was accepted, expected " & name
    If number <> expected Then Err.Raise number
    WScript.Echo what & " is refused: " & name & " (0x" & Hex(number) & ")"
End Sub

' ---- The script's steps ------------------------------------------------------------------------
Dim stream, table, titles, refusal
Set stream = HostStream(False)

' The first table: two sheets of a drawing, one value of each type in R1.
Set table = NewTable("Drafting")
AddRow table, "R1", Array("Title", "Ground floor", "Sheets", 3, "Issued", DateSerial(2024, 3, 5) + TimeSerial(6, 0, 0), _
                          "Checked", True, "Layout", "Plan")
AddRow table, "R2", Array("Title", "Roof", "Checked", False, "Layout", "Section")
storage.WriteProperties Rewound(stream), table, qnpsWriteNormal
' The parser ends the declaration's line as its platform does: shown without line ends.
WScript.Echo "Wrote rows R1 and R2:" & vbCrLf & "  " & Replace(Replace(host.StreamText(stream), vbCr, ""), vbLf, "")
Show "Read back", storage.ReadProperties(Rewound(stream))

' A script that knows only titles writes again. qnpsWriteNormal carries the values it does not
' supply over from the stream, by row identifier: R1 keeps its sheets, date, check and layout;
' R2, which the table lacks, is gone; R3 is new.
Set titles = NewTable("Drafting")
AddRow titles, "R1", Array("Title", "Ground floor, revised")
AddRow titles, "R3", Array("Title", "Cellar")
storage.WriteProperties Rewound(stream), titles, qnpsWriteNormal
WScript.Echo "Merged a table that supplies titles only"

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

WScript.Echo "QnPropStorage sample: done"
