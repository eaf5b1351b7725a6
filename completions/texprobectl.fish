# fish completion for texprobectl(1)

function __texprobectl_sets
    set -l program (commandline -opc)[1]
    $program list 2>/dev/null | awk '$1 ~ /^[0-9]+$/ { print $2 }'
end

set -l commands measure list show compare inspect export report merge time forget doctor
complete -c texprobectl -f
complete -c texprobectl -n "not __fish_seen_subcommand_from $commands" -l help -d 'Show help'
complete -c texprobectl -n "not __fish_seen_subcommand_from $commands" -l version -d 'Show the version'
complete -c texprobectl -n "not __fish_seen_subcommand_from $commands" -a measure -d 'Measure this machine'
complete -c texprobectl -n "not __fish_seen_subcommand_from $commands" -a list -d 'One line for each record set'
complete -c texprobectl -n "not __fish_seen_subcommand_from $commands" -a show -d 'The verdicts of a record set'
complete -c texprobectl -n "not __fish_seen_subcommand_from $commands" -a compare -d 'Differences'
complete -c texprobectl -n "not __fish_seen_subcommand_from $commands" -a inspect -d 'Why a transfer is a no'
complete -c texprobectl -n "not __fish_seen_subcommand_from $commands" -a export -d 'Record sets as JSON'
complete -c texprobectl -n "not __fish_seen_subcommand_from $commands" -a report -d 'Record sets as a page'
complete -c texprobectl -n "not __fish_seen_subcommand_from $commands" -a merge -d 'Sum up many machines'
complete -c texprobectl -n "not __fish_seen_subcommand_from $commands" -a time -d 'How fast transfers are'
complete -c texprobectl -n "not __fish_seen_subcommand_from $commands" -a forget -d 'Remove record sets'
complete -c texprobectl -n "not __fish_seen_subcommand_from $commands" -a doctor -d 'Diagnosis to send with a problem'

complete -c texprobectl -n "__fish_seen_subcommand_from $commands" -l help -d 'Show help'
complete -c texprobectl -n '__fish_seen_subcommand_from list show compare merge time doctor' -l json -d 'Print a JSON document'
complete -c texprobectl -n '__fish_seen_subcommand_from show compare export report forget' -a '(__texprobectl_sets)'
complete -c texprobectl -n '__fish_seen_subcommand_from compare report merge' -F
complete -c texprobectl -n '__fish_seen_subcommand_from export report' -s o -r -F -d 'Write to a file'
complete -c texprobectl -n '__fish_seen_subcommand_from report' -l pictures -d 'Inspect each no of a transfer'
set -l formats \
    GL_RGB32F_ARB GL_RGBA32F_ARB GL_LUMINANCE32F_ARB GL_LUMINANCE_ALPHA32F_ARB \
    GL_LUMINANCE8 GL_LUMINANCE8_ALPHA8 GL_RGB8 GL_RGBA8 \
    GL_LUMINANCE16 GL_LUMINANCE16_ALPHA16 GL_RGB16 GL_RGBA16 \
    GL_LUMINANCE16F_ARB GL_LUMINANCE_ALPHA16F_ARB GL_RGB16F_ARB GL_RGBA16F_ARB
complete -c texprobectl -n '__fish_seen_subcommand_from inspect' -a "$formats set reset get read"
complete -c texprobectl -n '__fish_seen_subcommand_from inspect' -l set -x -a '(__texprobectl_sets)' -d 'The record set'
complete -c texprobectl -n '__fish_seen_subcommand_from inspect' -l alone -d 'Do not replay the tests before it'
complete -c texprobectl -n '__fish_seen_subcommand_from inspect' -l timeout -x -d 'Seconds a test may take'
complete -c texprobectl -n '__fish_seen_subcommand_from inspect' -s o -r -F -d 'Write pictures and raw bytes'
complete -c texprobectl -n '__fish_seen_subcommand_from export' -l present -d 'Those of this machine'
complete -c texprobectl -n '__fish_seen_subcommand_from measure' -l tool -r -F -d 'The texprobe to run'
complete -c texprobectl -n '__fish_seen_subcommand_from measure' -l timeout -x -d 'Seconds a test may take'
complete -c texprobectl -n '__fish_seen_subcommand_from measure' -l attempts -x -d 'How many runs to try'
complete -c texprobectl -n '__fish_seen_subcommand_from forget' -l all -d 'All of them'
complete -c texprobectl -n '__fish_seen_subcommand_from forget' -l outdated -d 'Those of other machines and builds'
complete -c texprobectl -n '__fish_seen_subcommand_from forget' -l yes -d 'Do not ask'
complete -c texprobectl -n '__fish_seen_subcommand_from report' -l times -r -F -d 'A document of time to plot'
complete -c texprobectl -n '__fish_seen_subcommand_from time' -a 'GL_{LUMINANCE8,LUMINANCE8_ALPHA8,RGB8,RGBA8,LUMINANCE16,LUMINANCE16_ALPHA16,RGB16,RGBA16} GL_{LUMINANCE,LUMINANCE_ALPHA,RGB,RGBA}{16,32}F_ARB'
complete -c texprobectl -n '__fish_seen_subcommand_from time' -l size -x -a '128 512 1080p 2160p' -d 'Only images of this size'
complete -c texprobectl -n '__fish_seen_subcommand_from time' -l set -x -a '(__texprobectl_sets)' -d 'A record set of this machine'
complete -c texprobectl -n '__fish_seen_subcommand_from time' -l within -x -d 'Time for all of it'
complete -c texprobectl -n '__fish_seen_subcommand_from time' -l timeout -x -d 'Seconds a step may take'
