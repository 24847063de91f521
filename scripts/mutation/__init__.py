"""What scripts/mutate is made of: the sources as tokens, the changes, and the place where they are tried."""
