// Nothing: its target is there for the precompiled header.
