-- max rows 3
SELECT "No_","Name","Balance" FROM "Customer" WHERE ((((UCASE("Name") LIKE UCASE('%S%'))))) ORDER BY "No_"
