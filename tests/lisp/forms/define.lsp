; DEFINE binds a name in the current scope.
(define a (+ 1 2))            ; => 3
a                             ; => 3
(define a 4)                  ; => 4
a                             ; => 4
; Inside a call it shadows, until the call returns.
((lambda (x) (begin (define a x) a)) 9) ; => 9
a                             ; => 4
((lambda (x) (begin (define only-here x) only-here)) 9) ; => 9
only-here                     ; error: ;error; undefined symbol 'ONLY-HERE'
; It leaves the error buffer alone.
(define b zzz)                ; error: ;error; undefined symbol 'ZZZ'
b                             ; => nil
(define "A" 5)                ; => 5
a                             ; => 5
(define c)                    ; => nil
c                             ; => nil
