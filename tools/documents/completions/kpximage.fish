# Completes kpximage in fish by what its own help says.
function __kpximage_commands
    kpximage --help | string match -rg '^  ([a-z]+  +[A-Z].*)' | string replace -r '  +' \t
end
function __kpximage_options
    set -l words (commandline -opc)
    kpximage $words[2..-1] --help 2>/dev/null | string match -rg '^ +(?:-[a-z],)?(--[a-z-]+)'
end
complete -c kpximage -n 'test (count (commandline -opc)) -eq 1' -f -a '(__kpximage_commands)'
complete -c kpximage -n 'string match -q -- "-*" (commandline -ct)' -a '(__kpximage_options)'
