say "before"
quit
say "after"
