// Keeps a layer library valid while it has no sources of its own.
