#pragma once

// Numbers of the UlvexError exceptions raised by the data access layers. The
// window that asked shows the number with the description, so each failure
// kind has its own number; the description names the file, table, field or
// control concerned.
namespace DataErrors {

enum : int {
    // Opening the database and running a query.
    DatabaseMissing = 1001, // trickle.db does not exist (it is never created)
    DatabaseOpen = 1002,    // the file exists but cannot be opened
    NotADatabase = 1003,    // the file is not an SQLite database
    QueryFailed = 1004,     // bad SQL, unknown table or column
    DriverMissing = 1005,   // the SQLite driver of Qt is not available
    SaveFailed = 1006,      // writing a dataset back failed

    // The in-memory record set.
    RecordsetClosed = 1010, // operation needs an open record set
    NoCurrentRow = 1011,    // BOF or EOF: there is no current row
    UnknownField = 1012,    // no field of that name or index
    BadFilter = 1013,       // filter text is not "Field =value" or names no field
    RecordsetOpen = 1014,   // fields can only be appended while closed

    // Reading a window's selection.
    ControlMissing = 1020, // a control the query or graph update reads is missing
    TypeMismatch = 1021,   // a text that should be a number is not
    Overflow = 1022,       // a number does not fit a 16-bit integer
    OutOfRange = 1023,     // an index beyond an array (front colours 1 to 8)
};

} // namespace DataErrors
