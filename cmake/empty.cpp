// Stands in for the sources of a room that has only headers so far.
