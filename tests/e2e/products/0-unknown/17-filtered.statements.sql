-- max rows 3
SELECT "No","Name","City","Balance","Blocked","Created","Modified","Opens","Code" FROM "Customer" WHERE ((("City" = 'Oslo' OR "City" = 'Rome') AND ("Balance" >= 2.5) AND ("Blocked" = 0) AND ("Code" <> 0xFF AND "Code" <> 0x00))) ORDER BY "No"
