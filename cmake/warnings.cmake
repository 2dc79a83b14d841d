# One warning set for everything we write; warnings are errors.
add_library(pixmorph_warnings INTERFACE)
target_compile_options(pixmorph_warnings INTERFACE
  -Wall -Wextra -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual -Werror)
