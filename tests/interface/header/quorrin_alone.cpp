// The header needs nothing before it, and may come twice.
#include "quorrin/quorrin.h"

// The five functions with C++ symbols have C++ linkage: they may be overloaded.
int icBandkCardPowerUp(const char*);
int GetDevName(int);
void TrimLeft(int);
void TrimRight(int);
int CreateFolder(int);
