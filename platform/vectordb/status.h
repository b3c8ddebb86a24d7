#pragma once
// The answer of every call of the vector store. Plain value. Any thread.

#include <string>
#include <utility>

namespace VectorDB
{
/// What Status::Code() gives. A code once given to a meaning keeps it: it stands in logs.
enum class StatusCode : int {
    OK = 0,
    NOT_CONNECTED = 1,      ///< no store is open on this object
    INVALID_ARGUMENT = 2,   ///< a value that no store could take, such as a top-k of 0
    NOT_SUPPORTED = 3,      ///< a schema, index or metric that this store does not have
    UNKNOWN_COLLECTION = 4, ///< no collection has that name
    COLLECTION_EXISTS = 5,  ///< a collection of that name is there already
    COLUMN_MISMATCH = 6,    ///< a column too many, missing, of another type or of another length
    STRING_TOO_LONG = 7,    ///< more bytes of UTF-8 than the field's greatest length
    WRONG_DIMENSION = 8,    ///< a vector of another length than its field
    DUPLICATE_KEY = 9,      ///< the primary key is stored already, or twice in one insert
    INVALID_FILTER = 10, ///< not the language of filterexpression.h, or a field that it can't name
    STORE_IN_USE = 11,   ///< another object or process has this store open
    STORE_DAMAGED = 12,  ///< the file of the rows can't be read; it is left as it is
    STORE_FULL = 13,     ///< no room on the disk, or a limit on the size of files
    IO_ERROR = 14,       ///< any other failure of the file system
    NO_BACKEND = 15,     ///< there is no vector store in this process
};

class Status
{
public:
    Status() = default;
    Status(StatusCode code, std::string message) : m_code(code), m_message(std::move(message)) {}

    bool IsOk() const { return m_code == StatusCode::OK; }
    int Code() const { return static_cast<int>(m_code); }

    /// For a person who reads a log; empty for OK. Names fields and files, never their content.
    const std::string &Message() const { return m_message; }

private:
    StatusCode m_code = StatusCode::OK;
    std::string m_message;
};
} // namespace VectorDB
