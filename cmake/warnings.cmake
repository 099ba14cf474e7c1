# Warnings are errors in all code of the project, for every compiler.
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Werror)
add_compile_options($<$<COMPILE_LANGUAGE:C,CXX>:-Wconversion>)
