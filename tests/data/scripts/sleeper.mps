say "asleep"
wait
