// The files of this folder that a web developer edits, as they are built in.
#pragma once

namespace report {

extern const char html_file[];
extern const char style_file[];
extern const char script_file[];
extern const char style_sha256[]; // hexadecimal
extern const char script_sha256[];

} // namespace report
