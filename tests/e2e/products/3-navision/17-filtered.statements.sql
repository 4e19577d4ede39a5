-- max rows 3
SELECT "No_","Name","City","Blocked","Created_Date","Opens","Balance" FROM "Customer" WHERE ((("City" <> 'Rome' AND "City" <> '') AND ("Name" = '{'+'curly}' OR "Name" = 'Ann') AND ("Blocked" = 0))) ORDER BY "No_"
