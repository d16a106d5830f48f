// Compiled for its precompiled headers alone, which the test programs share.
