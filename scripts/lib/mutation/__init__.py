"""The parts of scripts/mutants: small changes of sources, and which of them the tests notice."""
