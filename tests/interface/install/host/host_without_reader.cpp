// A host that brings no reader functions along: it links and runs as long as it calls none.

#include <quorrin/quorrin.h>

int main() {
    return TransRetCodeNoMsg(-2) != -2;
}
