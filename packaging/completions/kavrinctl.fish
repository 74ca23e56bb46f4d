# SPDX-License-Identifier: MIT
# Completion for kavrinctl in fish. kavrinctl itself says what may come next.

function __kavrinctl_candidates
    set -l before (commandline --current-process --tokenize --cut-at-cursor)
    set -l current (commandline --current-token --cut-at-cursor)
    $before[1] complete -- $before[2..-1] "$current" 2>/dev/null
end

complete --command kavrinctl --no-files --arguments '(__kavrinctl_candidates)'
complete --command kavrinctl --condition '__fish_seen_subcommand_from transcribe' --force-files
