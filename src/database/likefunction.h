#pragma once
// Our own like() for SQLite connections: the built-in one's answers, several times as fast where
// the pattern is "%needle%". Owner: the connection. Thread: any.

struct sqlite3;

namespace LikeFunction
{
/// Puts our like(pattern, text), and so "text LIKE pattern", in the place of the built-in one on
/// this connection. The form with ESCAPE stays the built-in one. Gives SQLite's result code.
int install(sqlite3 *handle);
} // namespace LikeFunction
