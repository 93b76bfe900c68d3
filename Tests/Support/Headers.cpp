// The tests' precompiled headers are compiled with this file, and it has nothing of its own.
