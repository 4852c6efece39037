; A script that never yields: status 1, then a loop without end.
yield 1
for
x=x+1
