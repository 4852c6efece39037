say "unclosed
