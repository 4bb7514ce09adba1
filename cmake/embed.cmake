# Turns a text file into a C++ raw string literal include.
file(READ ${IN} content)
file(WRITE ${OUT} "R\"merel_embed(${content})merel_embed\"\n")
