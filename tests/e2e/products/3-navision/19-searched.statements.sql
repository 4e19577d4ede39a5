-- max rows 3
SELECT "No_","Name","City","Blocked","Created_Date","Opens","Balance" FROM "Customer" WHERE ((((UCASE("Name") LIKE UCASE('%S%'))))) ORDER BY "No_"
