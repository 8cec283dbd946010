#pragma once

#include <QString>

namespace tolvane {

// Path arithmetic on plain strings, as the device's string class does it: no file system
// access, no normalisation beyond what each operation states. The hand-off grammar and the
// listing depend on these exact edges (an escaped path stays escaped, "/" stays "/").
namespace PathString {

// "/a/b.mp3" -> "b.mp3"; "/a/b/" -> "b"; "/" -> "/"; "" -> "".
QString lastPathComponent(const QString& path);

// "/a/b.mp3" -> "/a"; "/a" -> "/"; "/a/" -> "/"; "/" -> "/"; "b.mp3" -> "".
QString deletingLastPathComponent(const QString& path);

// "b.MP3" -> "MP3"; "README" -> ""; ".hidden" -> ""; "a." -> "".
QString pathExtension(const QString& path);

// "/a/b.mp3" -> "/a/b"; "README" -> "README"; ".hidden" -> ".hidden".
QString deletingPathExtension(const QString& path);

// Joins with exactly one separator: ("/a/", "b") -> "/a/b"; ("", "b") -> "b".
QString appendingPathComponent(const QString& path, const QString& component);

} // namespace PathString

} // namespace tolvane
