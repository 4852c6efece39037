yield
pause
idle
schedule 1
set
set x
get
get x
play
play x
call
drop var
drop [
drop script
say "ok"
quit
