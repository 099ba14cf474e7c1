# Warnings are errors, for all the project's own code and for every compiler that builds it.
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Werror)
add_compile_options($<$<COMPILE_LANGUAGE:C,CXX>:-Wconversion>)
