-- max rows 3
SELECT "No_","Name","City","Blocked","Created_Date","Opens","Balance" FROM "Customer" WHERE ((("Name" > 'A') AND ((UCASE("Name") LIKE UCASE('%n%'))))) ORDER BY "Name", "No_"
