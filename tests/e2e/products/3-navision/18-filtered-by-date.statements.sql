-- max rows 3
SELECT "No_","Name","City","Blocked","Created_Date","Opens","Balance" FROM "Customer" WHERE ((("Created_Date" >= {d '2024-02-29'}) AND ("No_" < 'C50000'))) ORDER BY "No_"
