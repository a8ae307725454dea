// Nothing of its own: compiled so that its precompiled headers are.
