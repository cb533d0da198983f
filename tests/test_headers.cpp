// Built once, so that GoogleTest's headers are compiled in advance for every test program.
