-- max rows 3
SELECT "No_","Name","City","Balance","Blocked","Created" FROM "Customer_Card" WHERE (((("Name" LIKE '%S%')))) ORDER BY "No_"
