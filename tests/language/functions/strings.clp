; The functions on texts.
; Case keeps the kind.
(upcase "abc") (upcase "straße ÿ µ ž ſ ı")  ; values: "ABC", "STRAßE Ÿ Μ Ž S I"
(lowcase "ÄÖÜ Ÿ Ž İ ĸ ×") (upcase "άέ σοφός ϗ")  ; values: "äöü ÿ ž i ĸ ×", "ΆΈ ΣΟΦΌΣ Ϗ"
(lowcase "ΌΎ ΣΟΦΊΑ Ϊ") (upcase "ёж щука ӏ ѣ ԓ")  ; values: "όύ σοφία ϊ", "ЁЖ ЩУКА Ӏ Ѣ Ԓ"
(lowcase "Ӂ ЭХО Ѡ") (upcase "😀 字 ａ")  ; values: "ӂ эхо ѡ", "😀 字 ａ"
(upcase 1)  ; error: Value and type mismatch
(upcase (create$ a))  ; error: is a dtList type
; Positions and lengths count sixteen bit characters.
(str-index "" "abc") (str-index "b" "ä😀b") (str-length "ä😀")  ; values: FALSE, 4, 3
(< (str-compare a b) 0) (> (str-compare a A) 0)  ; values: TRUE, TRUE
; Sub string.
(sub-string 2 99 "abcd") (sub-string 2 1 "abcd")  ; values: "bcd", ""
(sub-string 0 1 "abcd")  ; error: Invalid substring parameters: 0, 1
(sub-string 5 5 "abcd")  ; error: Invalid substring parameters: 5, 5
