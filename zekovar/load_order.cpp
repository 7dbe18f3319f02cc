// The objects that are built when the library is loaded. Those of one file are built from top to bottom and destroyed
// from bottom to top, so this is the only file that defines such objects: a new one goes where what it uses exists.

#include "zekovar/foundation/string.h"

String const String::s_empty;
