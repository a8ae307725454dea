// The header needs nothing before it, and may come twice.
#include "quorrin/reader_library.h"
