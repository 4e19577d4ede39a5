-- max rows 3
SELECT "No","Name","City","Balance","Blocked","Created","Modified","Opens","Code" FROM "Customer" WHERE ((((UCASE("Name") LIKE UCASE('%S%'))))) ORDER BY "No"
