// Nothing: the headers are what is compiled.
