// Gives the precompiled headers of the tests a target of their own.
