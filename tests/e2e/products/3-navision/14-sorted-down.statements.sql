-- max rows 3
SELECT "No_","Name","City","Blocked","Created_Date","Opens","Balance" FROM "Customer" ORDER BY "Name" DESC, "No_" DESC
